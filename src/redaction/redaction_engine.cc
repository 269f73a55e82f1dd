#include "redaction/redaction_engine.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/text.h"
#include "platform/view.h"

namespace zarn::redaction {
namespace {

using platform::View;
using platform::ViewFacts;
using platform::ViewKind;

constexpr double kLeastAlpha = 1.0 / 512;  // what is fainter changes no pixel
// One look stays far below a frame's time; what is deeper or beyond is covered unseen.
constexpr int kMostViews = 8000;
constexpr int kMostLevels = 200;

enum Category : std::uint8_t { image = 1, text = 2, web = 4, map = 8 };

std::uint8_t categoryNamed(std::string_view word) {
  if (word == "image") return image;
  if (word == "text") return text;
  if (word == "web") return web;
  if (word == "map") return map;
  return 0;
}

std::uint8_t categoryOf(ViewKind kind) {
  switch (kind) {
    case ViewKind::label:
    case ViewKind::textView:
      return text;
    case ViewKind::image:
      return image;
    case ViewKind::web:
      return web;
    case ViewKind::map:
      return map;
    default:
      return 0;
  }
}

bool isKnownInput(const ViewFacts& facts) {
  return facts.kind == ViewKind::textField || facts.kind == ViewKind::textView;
}

bool isFinite(const base::Rect& rect) {
  return std::isfinite(rect.x) && std::isfinite(rect.y) && std::isfinite(rect.width) &&
         std::isfinite(rect.height);
}

bool contains(const base::Rect& outer, const base::Rect& inner) {
  return inner.x >= outer.x && inner.y >= outer.y && inner.right() <= outer.right() &&
         inner.bottom() <= outer.bottom();
}

}  // namespace

void RedactionEngine::setAutoMaskCategories(std::span<const std::string> categories) {
  std::uint8_t bits = 0;
  for (const std::string& word : categories) bits |= categoryNamed(word);
  autoMask_.store(bits, std::memory_order_relaxed);
}

void RedactionEngine::addSensitiveClass(std::string name, bool includingSubclasses) {
  base::MutexLock lock(sensitiveClassesLock_);
  auto classes = std::make_shared<SensitiveClasses>(*sensitiveClasses_);
  (includingSubclasses ? classes->withSubclasses : classes->exact).push_back(std::move(name));
  sensitiveClasses_ = std::move(classes);
  hasSensitiveClasses_.store(true, std::memory_order_release);
}

bool RedactionEngine::isSensitiveClass(const View& view) const {
  if (!hasSensitiveClasses_.load(std::memory_order_acquire)) return false;
  const auto classes = [this] {
    base::MutexLock lock(sensitiveClassesLock_);
    return sensitiveClasses_;
  }();
  arena_.reset();
  const std::string_view classText = view.classText(arena_);
  return std::ranges::find(classes->exact, classText) != classes->exact.end() ||
         std::ranges::any_of(classes->withSubclasses,
                             [&](const std::string& name) { return view.isKindOf(name); });
}

bool RedactionEngine::shouldMask(const View& view) const {
  return !view || shouldMask(view, view.facts());
}

/// The cheap tests come first: this is asked of every view.
bool RedactionEngine::shouldMask(const View& view, const ViewFacts& facts) const {
  if (facts.isMarkedPrivate || isSensitiveClass(view)) return true;
  if ((categoryOf(facts.kind) & autoMask_.load(std::memory_order_relaxed)) != 0) return true;
  if (facts.isSecureTextEntry) return true;
  const bool takesText = facts.acceptsTextInput || isKnownInput(facts);
  if (takesText && !isKnownInput(facts)) return true;
  if (takesText && maskInputs_.load(std::memory_order_relaxed) &&
      platform::isForSecrets(view.contentType())) {
    return true;
  }
  if (facts.kind == ViewKind::web || facts.kind == ViewKind::media) return true;
  return view.layer().hasVideo;
}

bool RedactionEngine::isMaskedWithin(const View& view) const {
  View at = view;
  for (int level = 0; level < kMostLevels; ++level) {
    if (shouldMask(at)) return true;
    at = at.parent();
    if (!at) return false;
  }
  return true;
}

/// One look at all that is in sight. It goes down to any depth and to every sibling, since a mask
/// that ends somewhere is none; the number of views bounds it instead.
class RedactionEngine::Walk {
 public:
  Walk(const RedactionEngine& engine, const View& root, std::vector<base::Rect>& rects)
      : engine_(engine), root_(root), rects_(rects) {}

  /// Nothing of the view is seen outside of `clip`. `hider` is what covers a masked view around it.
  void visit(const View& view, const base::Rect& clip, int level, const base::Rect* hider) {
    const ViewFacts facts = view.facts();
    if (facts.isHidden || facts.alpha < kLeastAlpha) return;
    const bool isMasked = hider == nullptr && engine_.shouldMask(view, facts);
    const bool draws = hider != nullptr && !facts.drawsNothing;
    base::Rect box = clip;
    if (isMasked || draws || facts.clipsChildren) box = visibleBox(view, bounds(facts), clip);
    // What a view holds may reach out of it, and a wrapper may have no size at all.
    if (isMasked || (draws && !contains(*hider, box))) hide(box);
    if ((isMasked || draws) && !facts.painted.isEmpty() && !facts.clipsChildren) {
      hide(visibleBox(view, facts.painted, clip));
    }
    visitChildren(view, facts.clipsChildren ? box : clip, level, isMasked ? &box : hider);
  }

 private:
  void visitChildren(const View& view, const base::Rect& clip, int level, const base::Rect* hider) {
    if (clip.isEmpty()) return;
    if (hider != nullptr && contains(*hider, clip)) return;
    view.eachChild([&](const View& child) {
      if (level == kMostLevels || visited_ == kMostViews) {
        hide(clip);
        return false;
      }
      ++visited_;
      visit(child, clip, level + 1, hider);
      return true;
    });
  }

  static base::Rect bounds(const ViewFacts& facts) {
    return {0, 0, facts.size.width, facts.size.height};
  }

  /// Where that can't be told, everywhere.
  base::Rect visibleBox(const View& view, const base::Rect& part, const base::Rect& clip) const {
    const base::Rect box = view.convert(part, root_);
    return isFinite(box) ? box.intersected(clip) : clip;
  }

  void hide(const base::Rect& box) {
    if (!box.isEmpty()) rects_.push_back(box);
  }

  const RedactionEngine& engine_;
  const View& root_;
  std::vector<base::Rect>& rects_;
  int visited_ = 0;
};

bool RedactionEngine::collectRects(const View& view, const View& root,
                                   std::vector<base::Rect>& rects) const {
  if (!view || !root) return false;
  const base::Size size = root.facts().size;
  if (size.isEmpty()) return false;
  Walk(*this, root, rects).visit(view, {0, 0, size.width, size.height}, 0, nullptr);
  return root.facts().size == size;
}

std::string maskText(std::string_view text) {
  std::string masked;
  while (!text.empty()) {
    const std::string_view character = base::prefixOfCharacters(text, 1);
    if (base::trimmed(character).empty()) {
      masked += character;
    } else {
      masked += "•";
    }
    text.remove_prefix(character.size());
  }
  return masked;
}

}  // namespace zarn::redaction
