#include "crash/metric_kit_subscriber.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "base/text.h"
#include "base/value_access.h"
#include "redaction/pii_filter.h"

namespace zarn::crash {
namespace {

using base::ValueAccess;

constexpr std::size_t kMostCharacters = 32768;
constexpr std::size_t kMostBytes = 256 << 10;
constexpr std::size_t kChunkCharacters = 4096;

}  // namespace

std::string signalName(int signal) {
  static constexpr std::array<const char*, 13> kNames = {
      "SIGHUP", "SIGINT",  "SIGQUIT", "SIGILL",  "SIGTRAP", "SIGABRT", "SIGEMT",
      "SIGFPE", "SIGKILL", "SIGBUS",  "SIGSEGV", "SIGSYS",  "SIGPIPE"};
  if (signal <= 0) return "unknown";
  const auto index = static_cast<std::size_t>(signal) - 1;
  return index < kNames.size() ? kNames[index] : "SIG" + std::to_string(signal);
}

std::string sanitisedStack(std::string_view callStackTree, const redaction::PiiFilter& filter) {
  if (!base::isValidUtf8(callStackTree)) return {};
  std::string_view rest =
      base::prefixOfCharacters(base::prefixOfBytes(callStackTree, kMostBytes), kMostCharacters);
  std::string sanitised;
  sanitised.reserve(rest.size());
  while (!rest.empty()) {
    const std::string_view chunk = base::prefixOfCharacters(rest, kChunkCharacters);
    sanitised += filter.scrubBounded(chunk).text;
    rest.remove_prefix(chunk.size());
  }
  return sanitised;
}

MetricKitSubscriber::MetricKitSubscriber(const redaction::PiiFilter& filter, Handler onHang,
                                         Handler onCrash)
    : filter_(filter), onHang_(std::move(onHang)), onCrash_(std::move(onCrash)) {}

void MetricKitSubscriber::didReceive(
    const std::vector<platform::DiagnosticPayload>& payloads) const {
  for (const auto& payload : payloads) {
    for (const auto& hang : payload.hangDiagnostics) onHang_(describe(hang, payload.timeStampEnd));
    for (const auto& crash : payload.crashDiagnostics) {
      onCrash_(describe(crash, payload.timeStampEnd));
    }
  }
}

Properties MetricKitSubscriber::describe(const platform::HangDiagnostic& hang, Date time) const {
  const auto frozen = std::chrono::duration_cast<std::chrono::milliseconds>(hang.hangDuration);
  return {{"thread_name", ValueAccess::opaque("main")},
          {"signal_name", ValueAccess::opaque("hang")},
          {"frozen_ms", static_cast<std::int64_t>(frozen.count())},
          {"stack_trace", sanitisedStack(hang.callStackTree, filter_)},
          {"crash_timestamp", time},
          {"historical", true},
          {"metric_kit", true},
          {"app_version", hang.metaData.applicationBuildVersion},
          {"os_version", hang.metaData.osVersion},
          {"device_type", hang.metaData.deviceType}};
}

Properties MetricKitSubscriber::describe(const platform::CrashDiagnostic& crash, Date time) const {
  const int signal = crash.signal.value_or(-1);
  return {{"thread_name", ValueAccess::opaque("main")},
          {"signal_name", ValueAccess::opaque(signalName(signal))},
          {"signal_code", signal},
          {"exception_type", crash.exceptionType.value_or(-1)},
          {"termination_reason", crash.terminationReason.value_or("")},
          {"stack_trace", sanitisedStack(crash.callStackTree, filter_)},
          {"crash_timestamp", time},
          {"historical", true},
          {"metric_kit", true},
          {"app_version", crash.metaData.applicationBuildVersion},
          {"os_version", crash.metaData.osVersion}};
}

}  // namespace zarn::crash
