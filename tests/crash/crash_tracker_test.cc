#include "crash/crash_tracker.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "base/text.h"
#include "redaction/pii_filter.h"
#include "runtime/privacy_state.h"
#include "support/fake_name_tagger.h"
#include "support/fake_producer_services.h"
#include "support/fake_services.h"

namespace zarn::crash {
namespace {

constexpr const char* kAddress = "anna@example.org";

struct Tracking {
  struct Event {
    std::string name;
    std::string json;
  };

  void deliver(platform::DiagnosticPayload payload) { source.deliver({std::move(payload)}); }

  testing::FakeNameTagger names;
  redaction::PiiFilter filter{names};
  testing::FakeDiagnosticsSource source;
  testing::FakeDefaults defaults;
  std::vector<Event> events;
  std::optional<CrashTracker> tracker{
      std::in_place,
      source,
      filter,
      defaults,
      [this] { return runtime::readOptOut(defaults).isOut; },
      [this](model::EventType type, std::string_view name, const Properties& properties) {
        EXPECT_EQ(type, model::EventType::crash);
        std::string json;
        base::JsonWriter(json).object(properties);
        events.push_back({std::string(name), json});
        return true;
      }};
};

platform::DiagnosticPayload oneOfEach() {
  const platform::DiagnosticMeta meta{
      .applicationBuildVersion = "241", .osVersion = "12.1", .deviceType = "x86_64"};
  return {.timeStampEnd = Date() + std::chrono::milliseconds(1500),
          .hangDiagnostics = {{.hangDuration = base::seconds(2.5),
                               .callStackTree = R"({"callStacks":[]})",
                               .metaData = meta}},
          .crashDiagnostics = {{.signal = 11,
                                .exceptionType = 1,
                                .terminationReason = "Namespace SIGNAL",
                                .callStackTree = R"({"at":"anna@example.org"})",
                                .metaData = meta},
                               {.metaData = {}}}};
}

TEST(CrashTracker, TellsEveryDiagnosticWithItsOwnKeys) {
  Tracking tracking;
  tracking.tracker->start();
  tracking.deliver(oneOfEach());
  tracking.deliver({});
  ASSERT_EQ(tracking.events.size(), 3u);
  EXPECT_EQ(tracking.events[0].name, "hang");
  EXPECT_EQ(tracking.events[0].json,
            R"({"thread_name":"main","signal_name":"hang","frozen_ms":2500,)"
            R"("stack_trace":"{\"callStacks\":[]}","crash_timestamp":"1970-01-01T00:00:01.500Z",)"
            R"("historical":true,"metric_kit":true,"app_version":"241","os_version":"12.1",)"
            R"("device_type":"x86_64"})");
  EXPECT_EQ(tracking.events[1].name, "metric_kit_crash");
  EXPECT_EQ(tracking.events[1].json,
            R"({"thread_name":"main","signal_name":"SIGSEGV","signal_code":11,)"
            R"("exception_type":1,"termination_reason":"Namespace SIGNAL",)"
            R"("stack_trace":"{\"at\":\"[redacted]\"}",)"
            R"("crash_timestamp":"1970-01-01T00:00:01.500Z","historical":true,)"
            R"("metric_kit":true,"app_version":"241","os_version":"12.1"})");
  EXPECT_EQ(tracking.events[2].json,
            R"({"thread_name":"main","signal_name":"unknown","signal_code":-1,)"
            R"("exception_type":-1,"termination_reason":"","stack_trace":"",)"
            R"("crash_timestamp":"1970-01-01T00:00:01.500Z","historical":true,)"
            R"("metric_kit":true,"app_version":"","os_version":""})");
}

TEST(CrashTracker, AnOptOutStopsItAndWhatHappenedMeanwhileIsSkipped) {
  Tracking tracking;
  tracking.tracker->start();
  tracking.tracker->start();
  runtime::writeOptOut(tracking.defaults);
  tracking.tracker->optOut();
  EXPECT_FALSE(tracking.source.isStarted());
  tracking.tracker->start();
  EXPECT_FALSE(tracking.source.isStarted());
  EXPECT_EQ(tracking.source.skips, 0);
  runtime::writeOptIn(tracking.defaults);
  tracking.tracker->start();
  EXPECT_TRUE(tracking.source.isStarted());
  EXPECT_EQ(tracking.source.skips, 1);
  tracking.tracker->start();
  EXPECT_EQ(tracking.source.skips, 1);
  tracking.tracker.reset();
  EXPECT_FALSE(tracking.source.isStarted());
}

TEST(CrashTracker, AnOptOutThatNoLaunchSawTheEndOfIsSkippedOnce) {
  Tracking optedIn;
  runtime::writeOptOut(optedIn.defaults);
  runtime::writeOptIn(optedIn.defaults);  // before configure, or just before a kill
  optedIn.tracker->start();
  EXPECT_TRUE(optedIn.source.isStarted());
  EXPECT_EQ(optedIn.source.skips, 1);
  Tracking next;
  optedIn.defaults.leaveTo(next.defaults);
  next.tracker->start();
  EXPECT_TRUE(next.source.isStarted());
  EXPECT_EQ(next.source.skips, 0);
}

TEST(SignalName, IsTakenFromTheNumberingOfDiagnostics) {
  EXPECT_EQ(signalName(1), "SIGHUP");
  EXPECT_EQ(signalName(7), "SIGEMT");
  EXPECT_EQ(signalName(10), "SIGBUS");
  EXPECT_EQ(signalName(13), "SIGPIPE");
  EXPECT_EQ(signalName(14), "SIG14");
  for (const int none : {0, -1, -2147483647 - 1}) EXPECT_EQ(signalName(none), "unknown");
}

TEST(SanitisedStack, ScrubsTheStartOfEveryChunkAndCutsFirst) {
  const testing::FakeNameTagger names;
  const redaction::PiiFilter filter(names);
  const std::string address = kAddress;
  // Near the end of the 256 characters that are looked at, just behind them, and in the next chunk.
  std::string stack = std::string(200, '.') + " " + address + " ";
  stack += std::string(300 - stack.size(), '.') + " " + address + " ";
  stack += std::string(4096 - stack.size(), '.') + address + std::string(100, '.');
  const auto sanitised = sanitisedStack(stack, filter);
  EXPECT_EQ(sanitised.find(address), sanitised.rfind(address));
  EXPECT_NE(sanitised.find(address), sanitised.npos);

  // Only what lies before the cut counts: the address reaches over it.
  const auto cut =
      sanitisedStack(std::string(32760, '.') + address + std::string(1 << 20, '.'), filter);
  EXPECT_EQ(base::countCharacters(cut, 40000), 32768u);
  EXPECT_EQ(cut.substr(32760), "anna@exa");
  // A last chunk of at most 256 characters is looked at as a whole.
  EXPECT_EQ(sanitisedStack(std::string(4096, '.') + std::string(230, '.') + " " + address, filter),
            std::string(4096 + 230, '.') + " [redacted]");
}

TEST(SanitisedStack, HoldsForHostileBytes) {
  const testing::FakeNameTagger names;
  const redaction::PiiFilter filter(names);
  EXPECT_EQ(sanitisedStack("{\"a\":\"\xff\"}", filter), "");
  std::string oneCharacter = "a";
  while (oneCharacter.size() < (1u << 20)) oneCharacter += "\u0301";
  const auto sanitised = sanitisedStack(oneCharacter, filter);
  EXPECT_LE(sanitised.size(), 256u << 10);
  EXPECT_TRUE(base::isValidUtf8(sanitised));
}

}  // namespace
}  // namespace zarn::crash
