// Small complete fakes of the services that producers use.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/ad_network.h"
#include "platform/clipboard.h"
#include "platform/diagnostics_source.h"
#include "platform/notifications.h"
#include "platform/request_hook.h"
#include "platform/store_receipt.h"
#include "platform/url_opener.h"

namespace zarn::testing {

class FakeRequestHook final : public platform::RequestHook {
 public:
  bool install(std::shared_ptr<platform::RequestWatcher> installed) override {
    ++installs;
    watcher = std::move(installed);
    return true;
  }
  int installs = 0;
  std::shared_ptr<platform::RequestWatcher> watcher;
};

/// Hands over what the test says, on the test's thread.
class FakeDiagnosticsSource final : public platform::DiagnosticsSource {
 public:
  void start(Receive receive) override { receive_ = std::move(receive); }
  void stop() override { receive_ = nullptr; }
  void skipToNow() override { ++skips; }
  bool isStarted() const { return receive_ != nullptr; }
  void deliver(const std::vector<platform::DiagnosticPayload>& payloads) {
    if (receive_) receive_(payloads);
  }
  int skips = 0;

 private:
  Receive receive_;
};

class FakeNotifications final : public platform::Notifications {
 public:
  void start(platform::NotificationListener& started) override { listener = &started; }
  void stop() override { listener = nullptr; }
  void readSettings(
      std::function<void(std::optional<platform::NotificationSettings>)> answer) override {
    asked.push_back(std::move(answer));
  }
  /// Answers everybody who has asked.
  void answerSettings(std::optional<platform::NotificationSettings> settings) {
    for (auto& answer : std::exchange(asked, {})) answer(settings);
  }
  platform::NotificationListener* listener = nullptr;
  std::vector<std::function<void(std::optional<platform::NotificationSettings>)>> asked;
};

class FakeClipboard final : public platform::Clipboard {
 public:
  void detectProbableWebUrl(base::SerialQueue& queue, std::function<void(bool)> answer) override {
    ++detections;
    if (!answers) return;
    queue.async([answer = std::move(answer), holds = holdsUrl] { answer(holds); });
  }
  void readText(base::SerialQueue& queue, std::function<void(std::string)> answer) override {
    ++reads;
    if (duringRead) duringRead();
    queue.async([answer = std::move(answer), held = text] { answer(held); });
  }
  std::function<void()> duringRead;
  bool answers = true;
  bool holdsUrl = false;
  std::string text;
  int detections = 0;
  int reads = 0;
};

class FakeStoreReceipt final : public platform::StoreReceipt {
 public:
  bool isAvailable() override { return available; }
  std::optional<std::string> read() override { return bytes; }
  bool available = true;
  std::optional<std::string> bytes;
};

class FakeAdNetwork final : public platform::AdNetwork {
 public:
  std::optional<std::string> updateConversionValue(
      int fine, std::optional<std::string_view>, bool lockWindow,
      std::function<void(const std::string&)> failed) override {
    values.emplace_back(fine, lockWindow);
    lastFailed = std::move(failed);
    if (duringUpdate) duringUpdate();
    return refusal;
  }
  std::vector<std::pair<int, bool>> values;
  std::function<void()> duringUpdate;
  std::function<void(const std::string&)> lastFailed;
  std::optional<std::string> refusal;
};

class FakeUrlOpener final : public platform::UrlOpener {
 public:
  void open(const std::string& url) override { opened.push_back(url); }
  std::vector<std::string> opened;
};

/// All of them.
struct FakeProducerServices {
  FakeRequestHook requests;
  FakeDiagnosticsSource diagnostics;
  FakeNotifications notifications;
  FakeClipboard clipboard;
  FakeStoreReceipt receipt;
  FakeAdNetwork adNetwork;
  FakeUrlOpener opener;
};

}  // namespace zarn::testing
