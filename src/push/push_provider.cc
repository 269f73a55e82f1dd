#include "zarn/push.h"

ZARN_NAMESPACE_BEGIN

std::string_view rawValue(PushProvider provider) noexcept {
  switch (provider) {
    case PushProvider::apns:
      return "apns";
    case PushProvider::firebase:
      return "firebase";
  }
  return "";
}

ZARN_NAMESPACE_END
