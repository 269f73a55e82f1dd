#include "core/skan.h"

#include <utility>

#include "core/public_call.h"
#include "model/configuration.h"
#include "platform/environment.h"
#include "platform/host.h"

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {

using core::publicCall;

ZarnSKAN::Impl::Impl(std::function<platform::Host&()> host, links::Skan::DebugLine debugLine)
    : host_(std::move(host)), debugLine_(std::move(debugLine)) {}

links::Skan& ZarnSKAN::Impl::skan() {
  base::MutexLock lock(lock_);
  if (!skan_) {
    platform::Host& host = host_();
    const bool isDev = host.environment.variable("ZARN_INTERNAL_DEV") == "1";
    const auto& endpoints = model::builtInEndpoints();
    skan_ = std::make_unique<links::Skan>(host.defaults, host.adNetwork, host.clock,
                                          isDev ? endpoints.development : endpoints.production,
                                          isDev, debugLine_);
  }
  return *skan_;
}

ZarnSKAN::ZarnSKAN(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
ZarnSKAN::~ZarnSKAN() = default;

void ZarnSKAN::acceptSchema(const CvSchema& schema) noexcept {
  publicCall([&] { impl_->skan().acceptSchema(schema); });
}

bool ZarnSKAN::updateConversionValue(int fine, ZarnCoarseConversionValue coarse,
                                     bool lockWindow) noexcept {
  return publicCall([&] { return impl_->skan().updateConversionValue(fine, coarse, lockWindow); });
}

bool ZarnSKAN::recordConversionEvent(Text event, std::optional<double> revenue) noexcept {
  static_cast<void>(event);  // no model tells events apart so far
  return publicCall([&] { return impl_->skan().recordConversionEvent(revenue); });
}

ZarnSKAN::SkanStatus ZarnSKAN::status() const noexcept {
  return publicCall([&] { return impl_->skan().status(); });
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn
