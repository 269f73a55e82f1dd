// Screens of Qt's Widgets. A node is the widget that shows the screen: a window for the root, a
// stack or a tab widget, a page in one of them.
#pragma once

#include "qt/screens.h"

namespace zarn::qt {

/// GUI thread only.
class WidgetScreens final : public ScreenTree {
 public:
  static WidgetScreens& instance();

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
  WidgetScreens() = default;
};

}  // namespace zarn::qt
