// Screens of Qt Quick. A node is the item that shows the screen: the window's content item for the
// root, the container's item, a page's item, the item of a popup.
#pragma once

#include "qt/screens.h"

class QQuickItem;

namespace zarn::qt {

/// GUI thread only.
class QuickScreens final : public ScreenTree {
 public:
  static QuickScreens& instance();

  std::uint64_t id(Node node) override;
  platform::ScreenFacts facts(Node node) override;
  std::string_view classText(Node node, base::TextArena& arena) override;
  std::string_view rootTypeText(Node node, base::TextArena& arena) override;
  std::string_view title(Node node, base::TextArena& arena) override;
  std::string_view navigationTitle(Node node, base::TextArena& arena) override;
  std::string_view tabTitle(Node node, base::TextArena& arena) override;
  platform::View navigationTitleView(Node node) override;
  platform::View tabView(Node node) override;
  platform::View view(Node node) override;
  Node parent(Node node) override;
  void eachChild(Node node, Visit visit) override;
  Node presented(Node node) override;
  Node visible(Node node) override;
  std::optional<int> selectedIndex(Node node) override;
  Node selected(Node node) override;
  std::string_view tabTitleAt(Node node, int index, base::TextArena& arena) override;
  platform::View tabViewAt(Node node, int index) override;
  std::unique_ptr<WeakNode> weak(Node node) override;

  bool isSettled(Node node) override;
  std::uint64_t layoutFingerprint(Node node) override;
  void eachNotifier(Node node, base::FunctionRef<void(QObject&, const char*)> visit) override;
  QObject& object(Node node) override;

 private:
  QuickScreens() = default;
};

}  // namespace zarn::qt
