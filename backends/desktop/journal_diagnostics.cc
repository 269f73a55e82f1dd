#include "desktop/journal_diagnostics.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "desktop/journal_reader.h"
#include "desktop/journal_stack.h"
#include "platform/clock.h"
#include "platform/defaults.h"
#include "platform/device.h"
#include "platform/dispatch.h"

namespace zarn::desktop {
namespace {

using std::chrono::microseconds;

std::int64_t microsecondsOf(Date time) {
  return std::chrono::floor<microseconds>(time.time_since_epoch()).count();
}

/// As the core dump service writes it.
std::string executablePath() {
  std::error_code ignored;
  std::string path = std::filesystem::read_symlink("/proc/self/exe", ignored).string();
  constexpr std::string_view kReplaced = " (deleted)";  // by an update
  if (path.ends_with(kReplaced)) path.resize(path.size() - kReplaced.size());
  return path;
}

platform::DiagnosticPayload payloadOf(const CrashRecord& record, std::string build,
                                      platform::Device& device) {
  platform::CrashDiagnostic crash;
  if (record.signal) crash.signal = diagnosticSignal(*record.signal);
  crash.callStackTree = callStackTreeOf(record.message);
  crash.metaData = {.applicationBuildVersion = std::move(build),
                    .osVersion = device.device().osVersion,
                    .deviceType = device.device().machine};
  platform::DiagnosticPayload payload;
  payload.timeStampEnd =
      Date(std::chrono::duration_cast<Date::duration>(microseconds(record.crashedAt)));
  payload.crashDiagnostics.push_back(std::move(crash));
  return payload;
}

}  // namespace

int diagnosticSignal(int linuxSignal) {
  switch (linuxSignal) {
    case 7:  // SIGBUS
      return 10;
    case 10:  // SIGUSR1
      return 30;
    case 12:  // SIGUSR2
      return 31;
    case 31:  // SIGSYS
      return 12;
    default:
      return linuxSignal;
  }
}

JournalDiagnostics::JournalDiagnostics(platform::Dispatch& dispatch, platform::Defaults& defaults,
                                       const platform::Clock& clock, platform::Device& device,
                                       JournalPlace place)
    : dispatch_(dispatch),
      defaults_(defaults),
      clock_(clock),
      device_(device),
      place_{.executable = place.executable.empty() ? executablePath() : place.executable,
             .directory = std::move(place.directory)} {}

JournalDiagnostics::~JournalDiagnostics() {
  stop();
}

void JournalDiagnostics::start(Receive receive) {
  stop();
  const auto since = position();
  const std::string build = device_.app().build;
  const std::string crashed = defaults_.getString(kBuildKey).value_or(build);
  if (!since && defaults_.mayHold(kSeenKey)) return;  // the settings can't be read
  if (!since || crashed != build) {
    defaults_.set(kBuildKey, build);
    defaults_.commit();  // this launch may crash at once
  }
  if (!since) return skipToNow();
  // The journal is read outside of the scope, so that stop need not wait for it.
  auto scope = std::make_unique<base::Scope>();
  auto handOver = base::weakly(
      *scope, [this, crashed, receive = std::move(receive)](std::vector<CrashRecord> records) {
        this->handOver(records, crashed, receive);
      });
  {
    base::MutexLock lock(mutex_);
    handingOver_ = std::move(scope);
  }
  // Its own thread, which the task takes along when it has run.
  const std::shared_ptr<base::Executor> thread = dispatch_.makeThread("zarn-journal");
  thread->post([thread, handOver = std::move(handOver),
                query = CrashQuery{.executable = place_.executable,
                                   .user = ::getuid(),
                                   .since = *since,
                                   .until = microsecondsOf(clock_.now()),
                                   .directory = place_.directory}]() mutable {
    auto records = readCrashRecords(query);
    if (!records.empty()) handOver(std::move(records));
  });
}

void JournalDiagnostics::stop() {
  std::unique_ptr<base::Scope> ended;
  {
    base::MutexLock lock(mutex_);
    ended = std::move(handingOver_);
  }
}

void JournalDiagnostics::skipToNow() {
  defaults_.set(kSeenKey, static_cast<double>(microsecondsOf(clock_.now())));
  defaults_.commit();
}

std::optional<std::int64_t> JournalDiagnostics::position() {
  const auto seen = defaults_.getDouble(kSeenKey);
  const auto now = microsecondsOf(clock_.now());
  if (!seen) return std::nullopt;
  if (*seen >= 0 && *seen <= static_cast<double>(now)) return static_cast<std::int64_t>(*seen);
  skipToNow();  // the clock was ahead then: crashes would go unseen until it gets there
  return now;
}

void JournalDiagnostics::handOver(const std::vector<CrashRecord>& records, const std::string& build,
                                  const Receive& receive) {
  const auto seen = position();  // another process may have been faster
  std::vector<platform::DiagnosticPayload> payloads;
  for (const auto& record : records) {
    if (seen && record.recordedAt <= *seen) continue;
    payloads.push_back(payloadOf(record, build, device_));
  }
  if (payloads.empty()) return;
  receive(payloads);
  defaults_.set(kSeenKey, static_cast<double>(records.back().recordedAt));
  defaults_.commit();
}

}  // namespace zarn::desktop
