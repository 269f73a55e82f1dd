#include "capture/tap_tracker.h"

#include "base/letters.h"
#include "base/text.h"
#include "platform/view.h"

namespace zarn::capture {
namespace {

using platform::View;
using platform::ViewKind;

constexpr int kMostInside = 64;

bool takesText(const platform::ViewFacts& facts) {
  return facts.acceptsTextInput || facts.kind == ViewKind::textField ||
         facts.kind == ViewKind::textView;
}

/// False also when there is too much inside to tell.
bool nothingMaskedInside(const screens::ViewPrivacy& privacy, const View& view, int& budget) {
  bool isClear = true;
  view.eachChild([&](const View& child) {
    isClear = --budget > 0 && !privacy.masks(child) && nothingMaskedInside(privacy, child, budget);
    return isClear;
  });
  return isClear;
}

/// A digit of a pad for numbers or a letter of a keyboard: one after the other they tell what is
/// typed, which may be a secret.
bool isKey(std::string_view label) {
  return base::countCharacters(label, 2) == 1 && base::isLetterOrNumber(label);
}

}  // namespace

void TapTracker::activated(const View& control) {
  arena_.reset();
  if (takesText(control.facts())) return;
  Tap tap;
  tap.className = control.classText(arena_);
  if (tap.className.empty()) return;  // it is gone
  View level = control;
  for (int depth = 0; level && depth < kHierarchyLevels; ++depth) {
    if (depth > 0) tap.hierarchy += " > ";
    tap.hierarchy += level.classText(arena_);
    level = level.parent();
  }
  tap.label = labelOf(control);
  if (tap.label.empty()) tap.label = tap.className;
  onTap_(tap);
}

/// Empty when it has none that may be told.
std::string TapTracker::labelOf(const View& control) {
  // A label may repeat what stands around or inside of the control.
  int budget = kMostInside;
  if (!screens::isReadable(privacy_, control) || !nothingMaskedInside(privacy_, control, budget)) {
    return {};
  }
  std::string label =
      screens::readable(privacy_, control.accessibilityLabel(arena_), kLongestLabel);
  if (label.empty() && control.facts().kind == ViewKind::button) {
    label = screens::readable(privacy_, control.text(arena_), kLongestLabel);
  }
  return isKey(label) ? std::string() : label;
}

}  // namespace zarn::capture
