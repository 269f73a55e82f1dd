// A fake toolkit, and a privacy that masks what is marked or secret and redacts one address.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "screens/view_privacy.h"
#include "support/fake_toolkit.h"
#include "support/manual_dispatch.h"

namespace zarn::screens {

inline constexpr const char* kAddress = "anna@example.org";

class ScreensTest : public ::testing::Test {
 protected:
  using NodePtr = zarn::testing::NodePtr;
  using NodeLook = zarn::testing::NodeLook;
  using ScreenPtr = zarn::testing::ScreenPtr;
  using ScreenLook = zarn::testing::ScreenLook;
  using Kind = platform::ViewKind;

  /// A screen's view: 390 x 844, drawing its background.
  NodePtr page(std::vector<NodePtr> children, NodeLook look = {}) {
    if (look.frame == base::Rect()) look.frame = {0, 0, 390, 844};
    return ui.node(std::move(look), std::move(children));
  }
  NodePtr plain(std::vector<NodePtr> children, base::Rect frame = {0, 0, 390, 200}) {
    return ui.node({.frame = frame}, std::move(children));
  }
  /// Draws nothing by itself.
  NodePtr wrapper(std::vector<NodePtr> children) {
    return ui.node({.frame = {0, 0, 390, 844}, .drawsNothing = true}, std::move(children));
  }
  NodePtr markedPrivate(NodePtr node) {
    node->look.isMarkedPrivate = true;
    return node;
  }

  zarn::testing::ManualClock clock;
  zarn::testing::FakeToolkit ui;
  ViewPrivacy privacy{
      .masks =
          [](const platform::View& view) {
            const platform::ViewFacts facts = view.facts();
            return facts.isMarkedPrivate || facts.isSecureTextEntry;
          },
      .filter =
          [](std::string_view text) {
            std::string filtered(text);
            const auto at = filtered.find(kAddress);
            if (at != std::string::npos) {
              filtered.replace(at, std::string_view(kAddress).size(), "[redacted]");
            }
            return filtered;
          },
  };
};

}  // namespace zarn::screens
