// JSON with the keys of every object in order: equal content gives equal bytes.
#pragma once

#include <string>

#include "zarn/value.h"

namespace zarn::base {

std::string canonicalJson(const Properties& properties);

}  // namespace zarn::base
