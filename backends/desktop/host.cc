// The desktop's platform::Host: every service of this process, made at first use.
#include "platform/host.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "desktop/absent_services.h"
#include "desktop/clock.h"
#include "desktop/crypto.h"
#include "desktop/defaults.h"
#include "desktop/device.h"
#include "desktop/device_facts.h"
#include "desktop/dispatch.h"
#include "desktop/environment.h"
#include "desktop/files.h"
#include "desktop/http_client.h"
#include "desktop/journal_diagnostics.h"
#include "desktop/life_events.h"
#include "desktop/log.h"
#include "desktop/name_tagger.h"
#include "desktop/path_monitor.h"
#include "desktop/process.h"
#include "desktop/random.h"
#include "desktop/secure_store.h"
#include "desktop/url_opener.h"
#include "zarn/desktop.h"

namespace zarn::desktop {
namespace {

/// What an exit waits for the settings even when everything else was slow.
constexpr base::Duration kLastWrite = base::seconds(0.05);

struct Description {
  base::Mutex mutex{base::LockRank::leaf};
  HostInfo info ZARN_GUARDED_BY(mutex);
  bool final ZARN_GUARDED_BY(mutex) = false;
};

Description& description() {
  static Description* const only = new Description;
  return *only;
}

/// What the host app has said, completed; nothing it says later counts.
HostInfo takeDescription() {
  Description& said = description();
  base::MutexLock lock(said.mutex);
  said.final = true;
  HostInfo info = said.info;
  if (info.bundleId.empty()) info.bundleId = executableName();
  if (info.name.empty()) info.name = executableName();
  return info;
}

/// In the order in which they need each other.
class DesktopHost {
 public:
  explicit DesktopHost(const HostInfo& info)
      : files_({.dataDirectory = info.dataDirectory, .bundleId = info.bundleId}, environment_,
               log_),
        defaults_(files_.dataDirectory() + "/Zarn", files_, diskQueue_, clock_, log_),
        secrets_(files_.dataDirectory() + "/Zarn", files_, diskQueue_, clock_, log_),
        device_({.bundleId = info.bundleId,
                 .name = info.name,
                 .version = info.version,
                 .build = info.build,
                 .buildType = {},
                 .startTime = {}},
                environment_, clock_, diskQueue_),
        http_(paths_, proxiesFrom(environment_)) {
    // Run newest first: once no thread of ours can change a setting, what is new gets written.
    onProcessExit([this](base::Duration left) { defaults_.finish(std::max(left, kLastWrite)); });
    onProcessExit([this](base::Duration left) { secrets_.finish(std::max(left, kLastWrite)); });
    onProcessExit([this](base::Duration left) { dispatch_.stop(left); });
    onProcessExit([this](base::Duration left) { http_.stop(left); });
    onProcessExit([this](base::Duration) { life_.terminate(); });
  }

  platform::Host& services() { return services_; }

 private:
  ThreadDispatch dispatch_;
  ProcessEnvironment environment_;
  SystemClock clock_;
  KernelRandom random_;
  DescriptorLog log_{STDERR_FILENO};
  std::unique_ptr<base::Executor> disk_ = dispatch_.makeThread("zarn-disk");
  base::SerialQueue diskQueue_{*disk_, "zarn.disk", base::LockRank::storeQueue};
  PosixFiles files_;
  FileDefaults defaults_;
  FileSecureStore secrets_;
  OpensslCrypto crypto_;
  LinuxDevice device_;
  NetlinkPathMonitor paths_;
  ProcessLifeEvents life_;
  CurlHttpClient http_;
  DictionaryNameTagger names_;
  NoRequestHook requests_;
  JournalDiagnostics diagnostics_{dispatch_, defaults_, clock_, device_};
  NoNotifications notifications_;
  NoClipboard clipboard_;
  NoStoreReceipt receipt_;
  NoAdNetwork adNetwork_;
  DesktopUrlOpener opener_{dispatch_.pool()};
  NoScreenEvents screens_;
  NoWindows windows_;
  NoInputEvents input_;
  NoImageCodec images_;
  platform::Host services_{dispatch_,    clock_,         random_,    log_,     environment_,
                           files_,       defaults_,      secrets_,   crypto_,  device_,
                           paths_,       life_,          http_,      names_,   requests_,
                           diagnostics_, notifications_, clipboard_, receipt_, adNetwork_,
                           opener_,      screens_,       windows_,   input_,   images_};
};

}  // namespace

inline namespace ZARN_VERSION_NAMESPACE {

void describeHost(HostInfo info) {
  // Now, since the host may go to another folder before it is configured, or after.
  info.dataDirectory = absolutePath(std::move(info.dataDirectory));
  Description& said = description();
  base::MutexLock lock(said.mutex);
  if (!std::exchange(said.final, true)) said.info = std::move(info);
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::desktop

namespace zarn::platform {
namespace {

struct Slot {
  base::Mutex mutex{base::LockRank::leaf};
  HostExtension extension ZARN_GUARDED_BY(mutex) = nullptr;
  bool final ZARN_GUARDED_BY(mutex) = false;
};

Slot& slot() {
  static Slot* const only = new Slot;
  return *only;
}

/// Whatever is said later does not count.
HostExtension takeExtension() {
  base::MutexLock lock(slot().mutex);
  slot().final = true;
  return slot().extension;
}

Host& makeHost() {
  Host& plain = (new desktop::DesktopHost(desktop::takeDescription()))->services();
  const HostExtension extension = takeExtension();
  return extension != nullptr ? extension(plain) : plain;
}

}  // namespace

bool extendProcessHost(HostExtension extension) {
  base::MutexLock lock(slot().mutex);
  if (slot().final) return false;
  slot().extension = extension;
  return true;
}

Host& processHost() {
  static Host& host = makeHost();
  return host;
}

}  // namespace zarn::platform
