#include "zarn/push.h"

namespace zarn {

std::string_view rawValue(PushProvider provider) noexcept {
  switch (provider) {
    case PushProvider::apns:
      return "apns";
    case PushProvider::firebase:
      return "firebase";
  }
  return "";
}

}  // namespace zarn
