#include "screens/class_traits.h"

#include "screens/class_tables.h"

namespace zarn::screens {

ClassTraits classTraits(std::string_view classText) {
  return {
      .isSystemOverlay = containsOneOf(classText, kSystemOverlayParts),
      .isWrapper = isOneOf(classText, kTransparentWrapperNames) ||
                   startsWithOneOf(classText, kTransparentWrapperPrefixes),
      .looksLoading = containsOneOf(classText, kLoadingParts),
      .looksLikeList = containsOneOf(classText, kListParts),
      .looksLikeRow = containsOneOf(classText, kRowParts),
  };
}

ClassTraits ClassTraitsMemory::of(std::string_view classText) {
  constexpr std::size_t kMostClasses = 1000;
  const auto found = known_.find(classText);
  if (found != known_.end()) return found->second;
  if (known_.size() >= kMostClasses) known_.clear();
  return known_.emplace(classText, classTraits(classText)).first->second;
}

}  // namespace zarn::screens
