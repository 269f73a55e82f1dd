#include "model/screen.h"

#include "base/hex.h"

namespace zarn::model {

std::string_view name(ScreenState state) {
  switch (state) {
    case ScreenState::loading:
      return "loading";
    case ScreenState::empty:
      return "empty";
    case ScreenState::error:
      return "error";
    case ScreenState::populated:
      return "populated";
    case ScreenState::normal:
      return "normal";
  }
  return "";
}

std::string screenFingerprint(std::uint64_t structureHash) {
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) {
    text += base::kLowerHexDigits[(structureHash >> shift) & 0xf];
  }
  return text;
}

std::string shapeName(std::uint64_t structureHash) {
  return std::string(kShapeNamePrefix) + screenFingerprint(structureHash);
}

std::string_view name(NameCandidate::Source source) {
  using Source = NameCandidate::Source;
  switch (source) {
    case Source::navTitle:
      return "navTitle";
    case Source::tabBarItem:
      return "tabBarItem";
    case Source::topLabel:
      return "topLabel";
    case Source::tapLineage:
      return "tapLineage";
    case Source::ocrFiltered:
      return "ocrFiltered";
    case Source::viewControllerType:
      return "viewControllerType";
  }
  return "";
}

}  // namespace zarn::model
