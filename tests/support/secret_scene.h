// A screen full of secrets: every way in which a masked view can lie in a picture. What of it is to
// be seen must not depend on the secrets' colour.
#pragma once

#include <vector>

#include "support/fake_toolkit.h"

namespace zarn::testing {

struct SecretScene {
  NodePtr page;
  NodePtr open;  // a label that is no secret
  NodePtr list;  // clips
  std::vector<NodePtr> secrets;

  explicit SecretScene(FakeToolkit& ui) {
    using platform::TextContentType;
    using platform::ViewKind;
    const auto secret = [&](NodePtr node) { return secrets.emplace_back(std::move(node)); };
    open = ui.label("Sign in", {20, 20, 200, 40});
    // Below the bar a row has been scrolled half out of sight.
    list = ui.node({.kind = ViewKind::list, .frame = {0, 80, 390, 100}, .clipsChildren = true},
                   {secret(ui.field({20, -20, 200, 40}, TextContentType::telephoneNumber)),
                    secret(ui.secureField({20, 90, 200, 40}))});
    const NodePtr turned =
        ui.node({.frame = {60, 200, 250, 100}, .scale = 1.3, .rotation = 30},
                {secret(ui.field({10, 30, 150, 40}, TextContentType::creditCardNumber))});
    const NodePtr web =
        secret(ui.node({.kind = ViewKind::web, .frame = {20, 350, 150, 60}, .alpha = 0.4}));
    // A mark on a wrapper without any size.
    const NodePtr marked = ui.node({.frame = {200, 350, 0, 0}, .isMarkedPrivate = true},
                                   {secret(ui.label("Balance", {10, 10, 120, 40}))});
    NodePtr deep = secret(ui.secureField({0, 0, 100, 30}));
    for (int level = 0; level < 15; ++level) {
      deep = ui.node({.frame = {2, 2, 120, 50}, .drawsNothing = level % 2 == 0}, {deep});
    }
    deep->look.frame.y = 420;
    std::vector<NodePtr> row;
    for (double x = 0; row.size() < 44; x += 5) row.push_back(ui.node({.frame = {x, 0, 4, 20}}));
    row.push_back(secret(ui.node({.kind = ViewKind::media, .frame = {225, 0, 60, 20}})));
    const NodePtr wide = ui.node({.frame = {20, 520, 300, 20}}, std::move(row));
    const NodePtr unknown = secret(
        ui.node({.kind = ViewKind::other, .frame = {20, 560, 80, 40}, .acceptsTextInput = true}));
    const NodePtr under = secret(ui.secureField({20, 620, 200, 40}));
    const NodePtr overlay = ui.node({.frame = {0, 600, 390, 100}, .alpha = 0.5});
    page = ui.node({.frame = {0, 0, 390, 844}},
                   {open, turned, web, marked, deep, wide, unknown, under, overlay, list});
  }

  void colour(std::uint32_t color) {
    for (const NodePtr& secret : secrets) secret->color = color;
  }
};

}  // namespace zarn::testing
