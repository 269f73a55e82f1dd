// RedactionEngine: which views must not leave the device in readable form, and which rectangles of
// a picture hide them.
//
//   std::vector<base::Rect> rects;
//   if (engine.collectRects(window, window, rects)) cover(bitmap, rects);
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/geometry.h"
#include "base/mutex.h"
#include "base/text_arena.h"

namespace zarn::platform {
class View;
struct ViewFacts;
}  // namespace zarn::platform

namespace zarn::redaction {

/// What touches views is for the main thread; the setters are for any, and act from the next
/// question on.
class RedactionEngine {
 public:
  /// Of "image", "text", "web" and "map"; other words count for nothing. None at first.
  void setAutoMaskCategories(std::span<const std::string> categories);
  /// Whether fields for numbers and secrets are masked; secret entry is masked anyway. On at first.
  void setMaskInputs(bool maskInputs) { maskInputs_.store(maskInputs, std::memory_order_relaxed); }
  /// By the class text of a view, or also of what its class derives from.
  void addSensitiveClass(std::string name, bool includingSubclasses);

  /// Whether the view, and so all below it, must not be seen or read. Its ancestors are not looked
  /// at. An empty view counts as masked.
  bool shouldMask(const platform::View& view) const;
  /// Whether this holds for the view or for anything around it.
  bool isMaskedWithin(const platform::View& view) const;

  /// Appends the rectangles, in `root`'s coordinates and inside of its bounds, that hide every
  /// masked view in sight below `view`. What a bounded walk can't look at is covered whole. False
  /// when that can't be told, as where `root` has died: the picture must not be used.
  bool collectRects(const platform::View& view, const platform::View& root,
                    std::vector<base::Rect>& rects) const;

 private:
  struct SensitiveClasses {
    std::vector<std::string> exact;
    std::vector<std::string> withSubclasses;
  };
  class Walk;
  bool shouldMask(const platform::View& view, const platform::ViewFacts& facts) const;
  bool isSensitiveClass(const platform::View& view) const;

  std::atomic<std::uint8_t> autoMask_ = 0;  // one bit a category
  std::atomic<bool> maskInputs_ = true;
  std::atomic<bool> hasSensitiveClasses_ = false;
  mutable base::Mutex sensitiveClassesLock_{base::LockRank::leaf};
  std::shared_ptr<const SensitiveClasses> sensitiveClasses_ ZARN_GUARDED_BY(sensitiveClassesLock_) =
      std::make_shared<SensitiveClasses>();
  mutable base::TextArena arena_;  // main thread
};

/// The text with every character but white space as "•": length and words stay to be seen.
std::string maskText(std::string_view text);

}  // namespace zarn::redaction
