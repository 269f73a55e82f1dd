#include "model/wire.h"

namespace zarn::model {

// Known before any code of a host runs, whatever the order of static objects.
constinit const std::string_view kWirePlatform = ZARN_WIRE_PLATFORM;

}  // namespace zarn::model
