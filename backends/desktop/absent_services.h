// What a process without a user interface, an app store and an ad network has none of.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/ad_network.h"
#include "platform/clipboard.h"
#include "platform/image_codec.h"
#include "platform/input_events.h"
#include "platform/notifications.h"
#include "platform/request_hook.h"
#include "platform/screen_events.h"
#include "platform/store_receipt.h"
#include "platform/windows.h"

namespace zarn::desktop {

/// Hosts tell of their requests themselves: see zarn/network.h and zarn/curl.h.
class NoRequestHook final : public platform::RequestHook {
 public:
  bool install(std::shared_ptr<platform::RequestWatcher>) override { return false; }
};

/// Payloads come through the public calls.
class NoNotifications final : public platform::Notifications {
 public:
  void start(platform::NotificationListener&) override {}
  void stop() override {}
  /// Never answers: nobody asks the user.
  void readSettings(std::function<void(std::optional<platform::NotificationSettings>)>) override {}
};

class NoClipboard final : public platform::Clipboard {
 public:
  void detectProbableWebUrl(base::SerialQueue& queue, std::function<void(bool)> answer) override {
    queue.async([answer = std::move(answer)] { answer(false); });
  }
  void readText(base::SerialQueue& queue, std::function<void(std::string)> answer) override {
    queue.async([answer = std::move(answer)] { answer({}); });
  }
};

/// Programs come from packages and archives, which give no receipt.
class NoStoreReceipt final : public platform::StoreReceipt {
 public:
  bool isAvailable() override { return true; }
  std::optional<std::string> read() override { return std::nullopt; }
};

class NoAdNetwork final : public platform::AdNetwork {
 public:
  std::optional<std::string> updateConversionValue(
      int, std::optional<std::string_view>, bool,
      std::function<void(const std::string&)>) override {
    return "skan_requires_ios_16_1";
  }
};

class NoScreenEvents final : public platform::ScreenEvents {
 public:
  void listen(platform::ScreenListener) override {}
  std::unique_ptr<platform::Observation> observeSelection(
      const platform::Screen&,
      std::function<void(std::optional<int>, std::optional<int>)>) override {
    return nullptr;
  }
};

class NoWindows final : public platform::Windows {
 public:
  void each(base::FunctionRef<bool(const platform::Window&)>) override {}
  void listen(std::function<void()>) override {}
  bool draw(const platform::View&, double, platform::Bitmap&) override { return false; }
};

class NoInputEvents final : public platform::InputEvents {
 public:
  void listen(platform::InputListener) override {}
  platform::View hitTest(const platform::View&, base::Point) override { return {}; }
};

class NoImageCodec final : public platform::ImageCodec {
 public:
  std::optional<std::string> encodeJpeg(const platform::Bitmap&, double) override {
    return std::nullopt;
  }
};

}  // namespace zarn::desktop
