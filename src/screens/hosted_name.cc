#include "screens/hosted_name.h"

#include <optional>

#include "base/text.h"
#include "screens/screen_naming.h"
#include "screens/text_match.h"
#include "screens/type_names.h"

namespace zarn::screens {
namespace {

constexpr std::string_view kHosts[] = {"HostingController", "HostingView"};
constexpr std::string_view kSayingNothing[] = {"AnyView", "ModifiedContent", "Optional"};

std::optional<std::string_view> parseGeneric(std::string_view classText) {
  return classText.find('<') != std::string_view::npos ? parseHostedTypeName(classText)
                                                       : std::nullopt;
}

std::optional<std::string_view> betweenBrackets(std::string_view className) {
  const std::size_t begin = className.find('<');
  const std::size_t end = className.rfind('>');
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return {};
  return parseHostedTypeName(className.substr(begin + 1, end - begin - 1));
}

std::optional<std::string_view> fromRootType(std::string_view type) {
  if (const auto parsed = parseHostedTypeName(type)) return parsed;
  const std::string_view last = type.substr(type.rfind('.') + 1);
  const base::CodePoint first = base::codePointAt(last, 0);
  const bool isCapital = first.length != 0 && base::lowerCase(first.value) != first.value;
  return isCapital ? std::optional(last) : std::nullopt;
}

std::optional<std::string_view> fromChildren(const platform::View& view, base::TextArena& arena) {
  constexpr int kMostChildren = 100;
  std::optional<std::string_view> found;
  int seen = 0;
  view.eachChild([&](const platform::View& child) {
    found = parseGeneric(child.classText(arena));
    return !found && ++seen < kMostChildren;
  });
  return found;
}

class SubviewSearch {
 public:
  SubviewSearch(const ViewTree& tree, std::string_view className)
      : tree_(tree), className_(className) {}

  std::string_view search(ViewTree::Index index) const {
    constexpr int kDeepest = 4;
    constexpr int kMostChildren = 20;
    if (tree_[index].depth > kDeepest) return {};
    const auto parsed = parseGeneric(tree_[index].classText);
    if (parsed && isAcceptedHostedName(*parsed, className_)) return *parsed;
    std::string_view found;
    int visited = 0;
    tree_.eachChild(index, [&](ViewTree::Index child) {
      found = search(child);
      return found.empty() && ++visited < kMostChildren;
    });
    return found;
  }

 private:
  const ViewTree& tree_;
  const std::string_view className_;
};

}  // namespace

bool isHosted(const platform::Screen& screen, std::string_view className) {
  return screen.facts().isHosted || containsOneOf(className, kHosts);
}

std::string hostedTypeName(const platform::Screen& screen, std::string_view className,
                           base::TextArena& arena) {
  const platform::View view = screen.view();
  std::optional<std::string_view> found;
  if (view) found = parseGeneric(view.classText(arena));
  if (!found) found = betweenBrackets(className);
  if (!found) found = fromRootType(screen.rootTypeText(arena));
  if (!found && view) found = fromChildren(view, arena);
  return std::string(found.value_or(""));
}

std::string hostedNameInSubviews(const ViewTree& tree, std::string_view className) {
  return tree.isEmpty() ? std::string() : std::string(SubviewSearch(tree, className).search(0));
}

bool isAcceptedHostedName(std::string_view name, std::string_view className) {
  return !name.empty() && name != className && !isOneOf(name, kSayingNothing) &&
         name.find("HostingController") == std::string_view::npos && !isPlaceholderName(name);
}

}  // namespace zarn::screens
