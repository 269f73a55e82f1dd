#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/base64.h"
#include "base/json.h"
#include "desktop/files.h"
#include "links/install_tracker.h"
#include "links/install_validator.h"
#include "platform/device.h"
#include "runtime/privacy_state.h"
#include "support/fake_producer_services.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/scripted_http.h"
#include "support/temp_directory.h"

namespace zarn::links {
namespace {

constexpr const char* kPath = "/api/sdk/install/validate";

struct Installing {
  explicit Installing(const testing::FakeDefaults* before = nullptr) {
    if (before != nullptr) before->leaveTo(defaults);
    addProcess(tracker);
  }
  void addProcess(std::optional<InstallTracker>& process) {
    process.emplace(
        defaults, files, app, [this] { return !optedOut.load(); }, [this] { return clickId; },
        [this](model::EventType type, std::string_view name, const Properties& properties) {
          EXPECT_EQ(type, model::EventType::install);
          EXPECT_EQ(name, "app_install");
          ++reports;
          // A kill from here on must not report again.
          EXPECT_FALSE(Installing(&defaults).tracker->isFirstRun());
          last = properties;
          return true;
        });
  }

  testing::TempDirectory directory;
  testing::FakeEnvironment environment;
  testing::FakeLog log;
  desktop::PosixFiles files{{.dataDirectory = directory.path(), .bundleId = ""}, environment, log};
  testing::FakeDefaults defaults;
  platform::AppFacts app{.version = "2.4.1", .build = "241"};
  std::atomic<bool> optedOut = false;
  std::optional<std::string> clickId;
  std::optional<InstallTracker> tracker;
  std::atomic<int> reports = 0;
  Properties last;
};

TEST(InstallTracker, ReportsOnceAndKnowsItsFirstRun) {
  Installing first;
  first.clickId = std::string(300, 'c');
  first.tracker->setUp();
  first.tracker->setUp();
  EXPECT_EQ(first.reports, 1);
  EXPECT_TRUE(first.tracker->isFirstRun());
  std::string json;
  base::JsonWriter(json).object(first.last);
  EXPECT_EQ(json,
            R"({"app_version":"2.4.1","build_number":"241","platform":"ios","zarn_click_id":")" +
                std::string(256, 'c') + R"("})");

  Installing later(&first.defaults);
  EXPECT_FALSE(later.tracker->isFirstRun());
  later.tracker->setUp();
  EXPECT_EQ(later.reports, 0);

  Installing unknown;
  unknown.app = {};
  unknown.tracker->setUp();
  EXPECT_EQ(unknown.last.find("app_version")->asString(), "unknown");
  EXPECT_EQ(unknown.last.find("build_number")->asString(), "unknown");
  EXPECT_EQ(unknown.last.find("zarn_click_id"), nullptr);
}

TEST(InstallTracker, ALaterLaunchReportsAfterAnOptOutOrAFullDisk) {
  Installing first;
  first.optedOut = true;
  first.tracker->setUp();
  EXPECT_EQ(first.defaults.size(), 0u);
  first.optedOut = false;
  first.defaults.failCommits(true);
  first.tracker->setUp();
  EXPECT_EQ(first.reports, 0);
  EXPECT_EQ(first.defaults.size(), 0u);
  Installing later(&first.defaults);
  EXPECT_TRUE(later.tracker->isFirstRun());
  later.tracker->setUp();
  EXPECT_EQ(later.reports, 1);
}

TEST(InstallTracker, ThreadsTogetherReportOnce) {
  for (int round = 0; round < 50; ++round) {
    Installing installing;
    std::thread other([&] { installing.tracker->setUp(); });
    installing.tracker->setUp();
    other.join();
    EXPECT_EQ(installing.reports, 1);
  }
}

TEST(InstallTracker, ProcessesTogetherReportOnce) {
  for (const int looks : {1, 2}) {  // that the first has had when the second one comes
    Installing installing;
    std::optional<InstallTracker> second;
    installing.addProcess(second);
    const auto come = [&] { second->setUp(); };
    installing.defaults.afterRead = come;
    if (looks == 2) installing.defaults.afterRead = [&] { installing.defaults.afterRead = come; };
    installing.tracker->setUp();
    EXPECT_EQ(installing.defaults.afterRead, nullptr);
    EXPECT_EQ(installing.reports, 1) << looks;
  }
}

struct Validating {
  explicit Validating(ConfigurationOptions options = {}) {
    options.apiHost = "http://collector.example";
    validator.emplace(InstallValidatorParts{defaults, random, receipt, guard, dispatch.pool(),
                                            [this] { return privacy.optedOut(); }},
                      model::Configuration{"wk_live_x_shop_secret", options}, "com.example.shop");
    receipt.bytes = "receipt";
  }
  void start() {
    validator->start("device-1");
    dispatch.runUntilIdle();
  }
  std::string word() const { return std::string(rawValue(validator->status())); }
  /// The word after this answer.
  static std::string answered(int status, std::string body) {
    Validating validating;
    validating.start();
    EXPECT_EQ(validating.word(), "not_run");
    validating.http.answerNext(status, std::move(body));
    validating.dispatch.runUntilIdle();
    return validating.word();
  }

  testing::ManualClock clock;
  testing::ManualDispatch dispatch{clock};
  testing::FakeDefaults defaults;
  testing::FakeRandom random;
  testing::FakeStoreReceipt receipt;
  testing::ScriptedHttp http;
  base::SerialQueue controlQueue{dispatch.pool(), "control", base::LockRank::controlQueue};
  runtime::PrivacyState privacy{defaults};
  runtime::NetworkGuard guard{http, controlQueue, privacy};
  std::optional<InstallValidator> validator;
};

TEST(InstallValidator, SendsTheReceiptAndTakesTheVerdict) {
  Validating validating;
  validating.receipt.bytes = std::string("\x00\xff\x10re", 5);
  validating.start();
  ASSERT_EQ(validating.http.waitingCount(), 1u);
  const auto request = validating.http.nextRequest();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.url, std::string("http://collector.example") + kPath);
  EXPECT_EQ(request.timeout, base::seconds(60));
  const auto id = validating.defaults.getString(InstallValidator::kInstallIdKey);
  ASSERT_TRUE(id && Uuid::parse(*id));
  EXPECT_EQ(validating.http.nextBody(),
            R"({"project_id":"shop","api_key":"wk_live_x_shop_secret","platform":"ios",)"
            R"("sdk_version":"1.0.16","install_id":")" +
                *id +
                R"(","device_id":"device-1","bundle_id":"com.example.shop",)"
                R"("apple_receipt":"AP8QcmU="})");
  validating.http.answerNext(200, R"({"validation_status":"replayed"})");
  validating.dispatch.runUntilIdle();
  EXPECT_EQ(validating.word(), "replayed");
  validating.validator->optOut();
  EXPECT_EQ(validating.word(), "replayed");
}

TEST(InstallValidator, ReadsTheAnswerWithCare) {
  for (const char* word : {"validated", "invalid_sig", "wrong_bundle", "absent", "error"}) {
    EXPECT_EQ(Validating::answered(200, R"({"validation_status":")" + std::string(word) + "\"}"),
              word);
  }
  EXPECT_EQ(Validating::answered(422, R"({"validation_status":"wrong_bundle"})"), "wrong_bundle");
  for (const char* body : {"", "[]", "{}", R"({"validation_status":1})", "<html>",
                           R"({"validation_status":"Validated"})"}) {
    EXPECT_EQ(Validating::answered(200, body), "error") << body;
  }
  Validating failing;
  failing.start();
  failing.http.failNext();
  failing.dispatch.runUntilIdle();
  EXPECT_EQ(failing.word(), "error");
}

TEST(InstallValidator, SaysWhyItAskedNothing) {
  Validating disabled({.installReceiptValidationEnabled = false});
  disabled.start();
  EXPECT_EQ(disabled.word(), "disabled");
  Validating optedOut;
  runtime::writeOptOut(optedOut.defaults);
  optedOut.start();
  EXPECT_EQ(optedOut.word(), "opted_out");
  Validating unavailable;
  unavailable.receipt.available = false;
  unavailable.start();
  EXPECT_EQ(unavailable.word(), "unavailable");
  for (const auto& none : {std::optional<std::string>(), std::optional<std::string>("")}) {
    Validating absent;
    absent.receipt.bytes = none;
    absent.start();
    EXPECT_EQ(absent.word(), "absent");
  }
  Validating huge;
  huge.receipt.bytes = std::string(InstallValidator::kMostReceiptBytes + 1, 'r');
  huge.start();
  EXPECT_EQ(huge.word(), "error");
  for (const auto* asked : {&disabled, &optedOut, &unavailable, &huge}) {
    EXPECT_EQ(asked->http.countOf(kPath), 0);
  }
}

TEST(InstallValidator, AnOptOutEndsItWhereverItIs) {
  Validating waiting;  // for the receipt
  waiting.validator->start("device-1");
  runtime::writeOptOut(waiting.defaults);
  waiting.guard.cancelAllGuarded();
  waiting.validator->optOut();
  waiting.dispatch.runUntilIdle();
  EXPECT_EQ(waiting.word(), "opted_out");
  EXPECT_EQ(waiting.http.countOf(kPath), 0);

  for (const bool isToldFirst : {true, false}) {
    Validating asking;
    asking.start();
    runtime::writeOptOut(asking.defaults);
    if (isToldFirst) asking.validator->optOut();
    asking.http.answerNext(200, R"({"validation_status":"validated"})");
    asking.guard.cancelAllGuarded();
    asking.dispatch.runUntilIdle();
    EXPECT_EQ(asking.word(), "opted_out");
  }
}

TEST(Base64, PadsEveryLength) {
  EXPECT_EQ(base::base64(""), "");
  EXPECT_EQ(base::base64("f"), "Zg==");
  EXPECT_EQ(base::base64("fo"), "Zm8=");
  EXPECT_EQ(base::base64("foo"), "Zm9v");
  EXPECT_EQ(base::base64("\xfb\xff\xfe\xff"), "+//+/w==");
}

}  // namespace
}  // namespace zarn::links
