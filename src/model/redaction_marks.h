// What stands in a filtered text where something was taken out of it.
#pragma once

#include <string_view>

namespace zarn::model {

inline constexpr std::string_view kRedactedMark = "[redacted]";  // what an expression has found
inline constexpr std::string_view kNameMark = "[name]";          // a person's name

}  // namespace zarn::model
