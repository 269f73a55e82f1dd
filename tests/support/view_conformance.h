// What every toolkit's views must do: the same page, built with the toolkit's own means, is asked
// the same questions.
//
// A subject builds the page in its constructor, in a window of 390 x 844, in this order:
//
//   page: {0, 0, 390, 844}
//     title: label "Your cart" {16, 20, 200, 30}
//     note: label "For nobody's eyes" {16, 60, 200, 30}, marked private
//     name: text field "Jane" {16, 100, 200, 40}
//     password: text field "hunter2" {16, 150, 200, 40} that hides what is typed, and whose name
//     for
//       people who can't see it is "hunter2" too
//     pay: button "Pay" {16, 200, 200, 40}
//     hidden: label "Not yet" {16, 250, 200, 30}, not visible
//     faint: label "Old price" {16, 290, 200, 30}, at an opacity of a quarter
//     box: {100, 400, 120, 100}, clips
//       inside: label "Inside" {10, 20, 50, 30}
//     editor: {16, 520, 200, 100}, the app's own: takes text by an input method
//     list: {0, 640, 390, 180}
//
// and answers: view(name), reveal(name) of a secret field, kill(name).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/text_arena.h"
#include "platform/view.h"

namespace zarn::testing {

template <typename Subject>
class ViewConformance : public ::testing::Test {
 protected:
  platform::View view(std::string_view name) { return subject.view(name); }
  platform::ViewFacts facts(std::string_view name) { return view(name).facts(); }
  std::string text(std::string_view name) { return std::string(view(name).text(arena)); }

  /// The names of the page's children, as far as the walk goes.
  template <typename AtEach>
  std::vector<std::string> childrenOfPage(AtEach&& atEach) {
    std::vector<std::string> names;
    view("page").eachChild([&](const platform::View& child) {
      names.emplace_back(child.accessibilityIdentifier(arena));
      return atEach(names.back());
    });
    return names;
  }

  Subject subject;
  base::TextArena arena;
};

TYPED_TEST_SUITE_P(ViewConformance);

TYPED_TEST_P(ViewConformance, TellsKindsApart) {
  using platform::ViewKind;
  EXPECT_EQ(this->facts("page").kind, ViewKind::plain);
  EXPECT_EQ(this->facts("title").kind, ViewKind::label);
  EXPECT_EQ(this->facts("name").kind, ViewKind::textField);
  EXPECT_EQ(this->facts("password").kind, ViewKind::textField);
  EXPECT_EQ(this->facts("pay").kind, ViewKind::button);
  EXPECT_EQ(this->facts("editor").kind, ViewKind::other);
  EXPECT_EQ(this->facts("list").kind, ViewKind::list);
  EXPECT_TRUE(this->facts("pay").isControl);
  EXPECT_FALSE(this->facts("title").isControl);
  EXPECT_TRUE(this->facts("page").drawsNothing);
  EXPECT_FALSE(this->facts("title").drawsNothing);
  EXPECT_TRUE(this->facts("box").clipsChildren);
}

TYPED_TEST_P(ViewConformance, TellsWhatTakesText) {
  for (const char* const name : {"name", "password", "editor"}) {
    EXPECT_TRUE(this->facts(name).acceptsTextInput) << name;
  }
  for (const char* const name : {"page", "title", "pay", "list"}) {
    EXPECT_FALSE(this->facts(name).acceptsTextInput) << name;
  }
}

TYPED_TEST_P(ViewConformance, ReadsWhatIsShown) {
  EXPECT_EQ(this->text("title"), "Your cart");
  EXPECT_EQ(this->text("name"), "Jane");
  EXPECT_EQ(this->text("pay"), "Pay");
  EXPECT_EQ(this->text("page"), "");
}

TYPED_TEST_P(ViewConformance, NeverReadsASecret) {
  const auto readAll = [&] {
    EXPECT_TRUE(this->facts("password").isSecureTextEntry);
    std::vector<platform::View> below = {this->view("password")};
    for (std::size_t at = 0; at < below.size(); ++at) {
      const platform::View view = below[at];
      EXPECT_EQ(view.text(this->arena), "");
      EXPECT_EQ(view.accessibilityLabel(this->arena), "");
      view.eachChild([&](const platform::View& child) {
        below.push_back(child);
        return true;
      });
    }
  };
  readAll();
  this->subject.reveal("password");
  readAll();
  EXPECT_FALSE(this->facts("name").isSecureTextEntry);
}

TYPED_TEST_P(ViewConformance, TellsMarksAndVisibility) {
  EXPECT_TRUE(this->facts("note").isMarkedPrivate);
  EXPECT_FALSE(this->facts("title").isMarkedPrivate);
  EXPECT_TRUE(this->facts("hidden").isHidden);
  EXPECT_FALSE(this->facts("title").isHidden);
  EXPECT_NEAR(this->facts("faint").alpha, 0.25, 0.01);
  EXPECT_EQ(this->facts("title").alpha, 1);
}

TYPED_TEST_P(ViewConformance, KnowsWhereThingsAre) {
  const auto page = this->view("page");
  EXPECT_EQ(this->view("pay").rectIn(page), (base::Rect{16, 200, 200, 40}));
  EXPECT_EQ(this->view("inside").rectIn(page), (base::Rect{110, 420, 50, 30}));
  EXPECT_EQ(this->view("inside").rectIn(this->view("box")), (base::Rect{10, 20, 50, 30}));
  EXPECT_EQ(this->view("inside").convert({0, 0, 5, 5}, page.window()),
            (base::Rect{110, 420, 5, 5}));
  EXPECT_EQ(this->view("inside").parent(), this->view("box"));
  EXPECT_EQ(this->view("inside").window(), page.window());
  EXPECT_FALSE(page.window().parent());
}

TYPED_TEST_P(ViewConformance, WalksFromBackToFront) {
  const auto all = this->childrenOfPage([](const std::string&) { return true; });
  EXPECT_EQ(all, (std::vector<std::string>{"title", "note", "name", "password", "pay", "hidden",
                                           "faint", "box", "editor", "list"}));
  const auto some = this->childrenOfPage([](const std::string& name) { return name != "note"; });
  EXPECT_EQ(some, (std::vector<std::string>{"title", "note"}));
}

TYPED_TEST_P(ViewConformance, ForgetsTheDead) {
  const platform::WeakView pay = this->view("pay").weak();
  const platform::WeakView inside = this->view("inside").weak();
  EXPECT_EQ(pay.lock(), this->view("pay"));
  this->subject.kill("pay");
  this->subject.kill("box");
  EXPECT_FALSE(pay.lock());
  EXPECT_FALSE(inside.lock());
}

TYPED_TEST_P(ViewConformance, SurvivesADeathInMidWalk) {
  int after = 0;
  const auto names = this->childrenOfPage([&](const std::string& name) {
    if (name == "title") {
      this->subject.kill("pay");
      this->subject.kill("title");
    }
    if (name == "box") ++after;
    return true;
  });
  EXPECT_EQ(after, 1);
  for (const std::string& name : names) EXPECT_NE(name, "pay");
  int visited = 0;
  this->childrenOfPage([&](const std::string&) {
    if (++visited == 2) this->subject.kill("page");
    return true;
  });
  EXPECT_GE(visited, 2);
}

REGISTER_TYPED_TEST_SUITE_P(ViewConformance, TellsKindsApart, TellsWhatTakesText, ReadsWhatIsShown,
                            NeverReadsASecret, TellsMarksAndVisibility, KnowsWhereThingsAre,
                            WalksFromBackToFront, ForgetsTheDead, SurvivesADeathInMidWalk);

}  // namespace zarn::testing
