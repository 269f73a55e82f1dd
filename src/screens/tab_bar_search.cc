#include "screens/tab_bar_search.h"

namespace zarn::screens {
namespace {

class TabBarSearch {
 public:
  TabBarSearch(const ViewPrivacy& privacy, base::TextArena& arena)
      : privacy_(privacy), arena_(arena) {}

  std::string_view search(const platform::View& view, int level) {
    constexpr int kMostLevels = 64;
    if (budget_-- <= 0 || level >= kMostLevels) return {};
    const platform::ViewFacts facts = view.facts();
    if (facts.isHidden || !(facts.alpha > 0)) return {};
    if (facts.kind == platform::ViewKind::tabBar && isReadable(privacy_, view)) {
      const std::string_view title = view.selectedTabTitle(arena_);
      if (!title.empty()) return title;
    }
    std::string_view found;
    view.eachChild([&](const platform::View& child) {
      found = search(child, level + 1);
      return found.empty() && budget_ > 0;
    });
    return found;
  }

 private:
  const ViewPrivacy& privacy_;
  base::TextArena& arena_;
  int budget_ = 3000;  // views
};

}  // namespace

std::string_view selectedTabTitleIn(const platform::View& window, const ViewPrivacy& privacy,
                                    base::TextArena& arena) {
  return TabBarSearch(privacy, arena).search(window, 0);
}

}  // namespace zarn::screens
