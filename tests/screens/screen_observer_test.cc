#include "screens/screen_observer.h"

#include "screens_test.h"

namespace zarn::screens {
namespace {

using Texts = std::vector<std::string>;

class Observing : public ScreensTest {
 protected:
  Texts anchorsOf(const NodePtr& root) { return observer.observe(ui.view(root)).anchors; }
  ScreenObserver observer{privacy};
};

TEST_F(Observing, TakesTheFirstFiveTexts) {
  const NodePtr first = ui.label("Cart", {});
  first->look.accessibilityIdentifier = "cart_title";
  const NodePtr button = ui.button("Pay", {});
  button->add(ui.label("inside a button", {}));
  EXPECT_EQ(anchorsOf(page({first, plain({button}), ui.label("  ", {}), ui.label("Total", {}),
                            ui.label("More", {}), ui.label("Sixth", {})},
                           {.accessibilityIdentifier = "cart"})),
            (Texts{"cart", "cart_title", "Cart", "Pay", "Total"}));

  const std::string accented = "\u00e9";
  std::string many;
  for (int i = 0; i < 60; ++i) many += accented;
  EXPECT_EQ(anchorsOf(page({ui.label(many, {})})), Texts{many.substr(0, 100)}) << "50 characters";

  const auto nested = [&](int levels) {
    NodePtr inner = ui.label("deep", {});
    for (int i = 0; i < levels; ++i) inner = plain({inner, plain({})});
    return page({inner});
  };
  EXPECT_EQ(anchorsOf(nested(4)), Texts{"deep"});
  EXPECT_EQ(anchorsOf(nested(5)), Texts());
}

TEST_F(Observing, ReadsNothingPrivate) {
  const NodePtr field = ui.field({}, platform::TextContentType::none, "typed");
  field->add(ui.label("typed as a label", {}));
  const NodePtr note = ui.node({.kind = Kind::textView, .text = "note", .acceptsTextInput = true});
  const NodePtr secret = markedPrivate(plain({ui.label("deep secret", {})}));
  secret->look.accessibilityIdentifier = "secret";
  const NodePtr shown = ui.label(std::string("Mail ") + kAddress, {});
  EXPECT_EQ(anchorsOf(page({secret, markedPrivate(ui.button("hidden button", {})), field, note,
                            ui.secureField({}, "password"), shown})),
            Texts{"Mail [redacted]"});
  // Cut after it was filtered: half an address is none that the filter knows.
  EXPECT_EQ(anchorsOf(page({ui.label(std::string(40, 'o') + kAddress, {})})),
            Texts{std::string(40, 'o') + "[redacted]"});
}

TEST_F(Observing, ReadsNothingInsideOfWhatIsPrivate) {
  const NodePtr inside = page({ui.label("secret", {})});
  const NodePtr around = markedPrivate(plain({plain({inside})}));
  const model::ScreenObservation seen = observer.observe(ui.view(inside));
  EXPECT_TRUE(seen.anchors.empty());
  EXPECT_NE(seen.structureHash, 0u) << "a shape tells nothing";

  const NodePtr list = ui.node({.kind = Kind::list, .frame = {0, 0, 390, 600}});
  list->add(ui.node({.kind = Kind::cell, .frame = {0, 0, 390, 40}},
                    {markedPrivate(ui.label("secret", {}))}));
  EXPECT_EQ(anchorsOf(page({list})), Texts());
}

TEST_F(Observing, NoScreenIsNothing) {
  const model::ScreenObservation seen = observer.observe({});
  EXPECT_EQ(seen.structureHash, 0u);
  EXPECT_EQ(seen.state, model::ScreenState::normal);
  EXPECT_TRUE(seen.anchors.empty());
}

// Whatever dies, and whenever: the rest is told, and nothing of the dead is touched.
TEST_F(Observing, SurvivesDeathsInMidWalk) {
  constexpr int kNodes = 6;
  for (int victim = 0; victim < kNodes; ++victim) {
    for (int question = 1;; ++question) {
      const NodePtr list = ui.list({0, 100, 390, 500}, {"a", "b"});
      const NodePtr empty = ui.list({0, 600, 390, 100}, {});
      const NodePtr retry = ui.button("Retry", {100, 620, 190, 44});
      const NodePtr title = ui.label("Cart", {0, 0, 100, 20});
      const NodePtr root = page({title, list, empty, plain({retry})});
      const NodePtr victims[kNodes] = {root, title, list, list->children[0], empty, retry};
      const int before = ui.questions();
      ui.killAfter(question, victims[victim]);
      observer.observe(ui.view(root));
      if (ui.questions() - before < question) break;  // it outlived the walk
    }
  }
}

}  // namespace
}  // namespace zarn::screens
