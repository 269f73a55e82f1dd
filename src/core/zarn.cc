#include "zarn/zarn.h"

#include "core/client.h"
#include "core/public_call.h"
#include "platform/host.h"

namespace zarn {
namespace core {

Client& sharedClient() {
  static Client& client = *new Client([]() -> platform::Host& {
    base::watchForks();
    return platform::processHost();
  });
  return client;
}

}  // namespace core

inline namespace ZARN_VERSION_NAMESPACE {

using base::HostCallKind;
using core::publicCall;
using core::sharedClient;

void Zarn::configure(Text writeKey, ConfigurationOptions options) noexcept {
  publicCall([&] { sharedClient().configure(writeKey, std::move(options)); },
             HostCallKind::mayBlock);
}

void Zarn::configure(Text projectId, Text apiKey, ConfigurationOptions options) noexcept {
  publicCall([&] { sharedClient().configure(projectId, apiKey, std::move(options)); },
             HostCallKind::mayBlock);
}

void Zarn::track(Text name, const Properties& properties) noexcept {
  publicCall([&] { sharedClient().track(name, properties); });
}

void Zarn::identify(Text userId, const Properties& traits) noexcept {
  publicCall([&] { sharedClient().identify(userId, traits); });
}

void Zarn::group(Text groupId, const Properties& traits) noexcept {
  publicCall([&] { sharedClient().group(groupId, traits); });
}

void Zarn::setSuperProperty(Text key, Value value) noexcept {
  publicCall([&] {
    Properties single;
    single.set(key, std::move(value));
    sharedClient().setSuperProperties(single);
  });
}

void Zarn::setSuperProperties(const Properties& properties) noexcept {
  publicCall([&] { sharedClient().setSuperProperties(properties); });
}

void Zarn::unsetSuperProperty(Text key) noexcept {
  publicCall([&] { sharedClient().unsetSuperProperty(key); });
}

void Zarn::clearSuperProperties() noexcept {
  publicCall([] { sharedClient().clearSuperProperties(); });
}

void Zarn::flush() noexcept {
  publicCall([] { sharedClient().flush(); });
}

bool Zarn::flush(double timeoutSeconds) noexcept {
  return publicCall([&] { return sharedClient().flush(timeoutSeconds); }, HostCallKind::mayBlock);
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn
