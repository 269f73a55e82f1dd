// The one word by which the server knows a connection.
#pragma once

#include <string_view>

namespace zarn::platform {
struct NetworkPath;
}

namespace zarn::model {

/// "wifi", "cellular", "ethernet", "offline" or "unknown"; null means that no path has arrived yet.
std::string_view connectionType(const platform::NetworkPath* path);

}  // namespace zarn::model
