#include "zarn/deep_link.h"

ZARN_NAMESPACE_BEGIN

bool ZarnDeepLink::isDeterministic() const {
  return matchMethod == "install_referrer" || matchMethod == "universal_link_clickid" ||
         matchMethod == "san";
}

std::string_view rawValue(ZarnDeepLink::Source source) noexcept {
  switch (source) {
    case ZarnDeepLink::Source::universalLink:
      return "universalLink";
    case ZarnDeepLink::Source::customScheme:
      return "customScheme";
    case ZarnDeepLink::Source::push:
      return "push";
    case ZarnDeepLink::Source::deferredClipboard:
      return "deferredClipboard";
    case ZarnDeepLink::Source::deferredFingerprint:
      return "deferredFingerprint";
  }
  return "";
}

ZARN_NAMESPACE_END
