// What is known of a screen: its shape, its state and what it may be called.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::model {

enum class ScreenState : std::uint8_t { loading, empty, error, populated, normal };
/// The word on the wire: the name of the case.
std::string_view name(ScreenState state);

struct ScreenObservation {
  /// The same for screens of one shape, whatever they show; 0 when there was nothing to see.
  std::uint64_t structureHash = 0;
  ScreenState state = ScreenState::normal;
  std::vector<std::string> anchors;  // at most 5 short texts, free of personal data
};

/// "%08x" of the hash's low 32 bits: how events name a screen's shape.
std::string screenFingerprint(std::uint64_t structureHash);
/// What a screen without a name of its own is called: "Screen_" and its fingerprint.
std::string shapeName(std::uint64_t structureHash);
inline constexpr std::string_view kShapeNamePrefix = "Screen_";

struct NameCandidate {
  enum class Source : std::uint8_t {
    navTitle,
    tabBarItem,
    topLabel,
    tapLineage,
    ocrFiltered,
    viewControllerType,
  };
  std::string text;  // free of personal data
  Source source = Source::navTitle;
  double confidence = 0;  // 0 to 1
  friend bool operator==(const NameCandidate&, const NameCandidate&) = default;
};
/// The word on the wire: the name of the case.
std::string_view name(NameCandidate::Source source);

}  // namespace zarn::model
