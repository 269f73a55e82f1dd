// What of a screen may be read, and in which form. Every text that a name, an anchor or a label is
// made of comes through here.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace zarn::platform {
class View;
}

namespace zarn::screens {

/// Main thread.
struct ViewPrivacy {
  /// Whether the view, and so all below it, must not be read. Its ancestors are not looked at.
  std::function<bool(const platform::View&)> masks;
  /// Takes personal data out of a text.
  std::function<std::string(std::string_view)> filter;
};

}  // namespace zarn::screens
