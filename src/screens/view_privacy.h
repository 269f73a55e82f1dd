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

/// Main thread. Both are set.
struct ViewPrivacy {
  /// Whether the view, and so all below it, must not be read. Its ancestors are not looked at.
  std::function<bool(const platform::View&)> masks;
  /// Takes personal data out of a text, and leaves the model's marks in its place.
  std::function<std::string(std::string_view)> filter;
};

/// Whether neither the view nor anything around it is masked.
bool isReadable(const ViewPrivacy& privacy, const platform::View& view);

/// The form in which a text of the app may be shown: without spaces around it, filtered, and then
/// cut (a cut before the filter could hide from it what it looks for). Empty when nothing but marks
/// is left.
std::string readable(const ViewPrivacy& privacy, std::string_view text, std::size_t mostCharacters);

/// A filtered text without the marks in it.
std::string withoutMarks(std::string_view filtered);

}  // namespace zarn::screens
