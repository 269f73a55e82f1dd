// What is told of a screen by the lists on it.
#include <gtest/gtest.h>

#include <QListWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include "qt/quick_views.h"
#include "qt/widget_views.h"
#include "quick_scene.h"
#include "screens/screen_state.h"
#include "screens/structure_hash.h"

namespace zarn::qt {
namespace {

using model::ScreenState;
using screens::ViewTree;
using testing::QuickScene;

class ListsTest : public ::testing::Test {
 protected:
  ScreenState stateOf(const platform::View& view) {
    tree_.look(view);
    return screens::classifyState(tree_);
  }
  void lookAtRows(const char* delegate, int count) {
    QuickScene scene(QByteArray("ListView { width: 100; height: 100; model: ") +
                     QByteArray::number(count) + "; delegate: " + delegate + " }");
    state_ = stateOf(quickView(scene.window().contentItem()));
    hash_ = screens::structureHash(tree_);
  }

  const screens::ViewPrivacy privacy_{
      .masks = [](const platform::View&) { return false; },
      .filter = [](std::string_view text) { return std::string(text); }};
  ViewTree tree_{privacy_};
  ScreenState state_ = ScreenState::normal;
  std::uint64_t hash_ = 0;
};

TEST_F(ListsTest, OfItemsHaveRowsWhateverTheRowsAreMadeOf) {
  for (const char* const delegate :
       {"Label { text: index; width: 100; height: 30 }", "Image { width: 100; height: 30 }",
        "CheckBox { text: index }", "Item { width: 100; height: 30; Label { text: index } }"}) {
    lookAtRows(delegate, 0);
    EXPECT_EQ(state_, ScreenState::empty) << delegate;
    lookAtRows(delegate, 2);
    EXPECT_EQ(state_, ScreenState::populated) << delegate;
    const std::uint64_t few = hash_;
    lookAtRows(delegate, 50);
    EXPECT_EQ(hash_, few) << delegate << ", some of them ready but not in sight";
  }
}

TEST_F(ListsTest, OfPagesAreNone) {
  QuickScene scene(
      "SwipeView { width: 100; height: 100; Label { text: 'One' } Label { text: 'Two' } }");
  EXPECT_EQ(stateOf(quickView(scene.window().contentItem())), ScreenState::normal);
}

TEST_F(ListsTest, OfWidgetsHaveTheRowsOfTheirModels) {
  QWidget window;
  QVBoxLayout layout(&window);
  QListWidget list;
  layout.addWidget(&list);
  QTableWidget table(2, 3);
  layout.addWidget(&table);
  window.show();
  EXPECT_EQ(stateOf(widgetView(&window)), ScreenState::empty);
  list.addItem(QStringLiteral("Shoes"));
  EXPECT_EQ(stateOf(widgetView(&window)), ScreenState::populated) << "headers are no lists";
  QListView withoutModel;
  layout.addWidget(&withoutModel);
  withoutModel.show();
  EXPECT_EQ(stateOf(widgetView(&window)), ScreenState::empty);
}

}  // namespace
}  // namespace zarn::qt
