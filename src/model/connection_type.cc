#include "model/connection_type.h"

#include "platform/path_monitor.h"

namespace zarn::model {

std::string_view connectionType(const platform::NetworkPath* path) {
  if (path == nullptr) return "unknown";
  if (!path->satisfied) return "offline";
  if (path->usesWifi) return "wifi";
  if (path->usesCellular) return "cellular";
  if (path->usesEthernet) return "ethernet";
  return "unknown";
}

}  // namespace zarn::model
