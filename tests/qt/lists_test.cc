// What is told of a screen by the lists on it.
#include <gtest/gtest.h>

#include "qt/quick_views.h"
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
  void lookAtRows(const char* delegate, int count) {
    QuickScene scene(QByteArray("ListView { width: 100; height: 100; model: ") +
                     QByteArray::number(count) + "; delegate: " + delegate + " }");
    tree_.look(quickView(scene.window().contentItem()));
    state_ = screens::classifyState(tree_);
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

}  // namespace
}  // namespace zarn::qt
