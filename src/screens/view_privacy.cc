#include "screens/view_privacy.h"

#include "base/letters.h"
#include "base/text.h"
#include "model/redaction_marks.h"
#include "platform/view.h"

namespace zarn::screens {
namespace {

bool hasLetterOrNumber(std::string_view text) {
  while (!text.empty()) {
    const std::string_view character = base::prefixOfCharacters(text, 1);
    if (base::isLetterOrNumber(character)) return true;
    text.remove_prefix(character.size());
  }
  return false;
}

}  // namespace

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
  if (filtered != text && !hasLetterOrNumber(withoutMarks(filtered))) return {};
  return std::string(base::prefixOfCharacters(filtered, mostCharacters));
}

std::string withoutMarks(std::string_view filtered) {
  std::string left(filtered);
  for (const std::string_view mark : {model::kRedactedMark, model::kNameMark}) {
    for (std::size_t at = 0; (at = left.find(mark, at)) != std::string::npos;) {
      left.erase(at, mark.size());
    }
  }
  return left;
}

}  // namespace zarn::screens
