#include "screens/view_privacy.h"

#include "base/text.h"
#include "platform/view.h"

namespace zarn::screens {

bool isReadable(const ViewPrivacy& privacy, const platform::View& view) {
  constexpr int kDeepest = 256;
  platform::View around = view;
  for (int level = 0; level < kDeepest; ++level) {
    if (!around) return true;
    if (privacy.masks(around)) return false;
    around = around.parent();
  }
  return false;  // what lies above is unknown
}

std::string readable(const ViewPrivacy& privacy, std::string_view text,
                     std::size_t mostCharacters) {
  text = base::trimmed(text);
  if (text.empty()) return {};
  const std::string filtered = privacy.filter(text);
  return std::string(base::prefixOfCharacters(filtered, mostCharacters));
}

}  // namespace zarn::screens
