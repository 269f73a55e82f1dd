// The toolkit that the tests of all screen logic stand on does what the real ones do.
#include <gtest/gtest.h>

#include <map>

#include "support/fake_toolkit.h"
#include "support/view_conformance.h"

namespace zarn::testing {
namespace {

using platform::ViewKind;

class FakePage {
 public:
  FakePage() {
    auto note = ui_.label("For nobody's eyes", {16, 60, 200, 30});
    note->look.isMarkedPrivate = true;
    auto password = ui_.secureField({16, 150, 200, 40}, "hunter2");
    password->look.accessibilityLabel = "hunter2";
    auto hidden = ui_.label("Not yet", {16, 250, 200, 30});
    hidden->look.isHidden = true;
    auto faint = ui_.label("Old price", {16, 290, 200, 30});
    faint->look.alpha = 0.25;
    auto inside = named("inside", ui_.label("Inside", {10, 20, 50, 30}));
    auto box = ui_.node({.frame = {100, 400, 120, 100}, .clipsChildren = true}, {inside});
    auto editor = ui_.node({.classText = "Editor",
                            .kind = ViewKind::other,
                            .frame = {16, 520, 200, 100},
                            .acceptsTextInput = true});
    auto page = ui_.node(
        {.frame = {0, 0, 390, 844}, .drawsNothing = true},
        {named("title", ui_.label("Your cart", {16, 20, 200, 30})), named("note", note),
         named("name", ui_.field({16, 100, 200, 40}, platform::TextContentType::none, "Jane")),
         named("password", password), named("pay", ui_.button("Pay", {16, 200, 200, 40})),
         named("hidden", hidden), named("faint", faint), named("box", box), named("editor", editor),
         named("list", ui_.list({0, 640, 390, 180}, {}))});
    named("page", page);
    window_ = ui_.window(ui_.screen({.view = page}));
  }

  platform::View view(std::string_view name) { return ui_.view(nodes_.find(name)->second); }
  void reveal(std::string_view name) { nodes_.find(name)->second->look.isSecureTextEntry = false; }
  void kill(std::string_view name) { ui_.kill(nodes_.find(name)->second); }

 private:
  NodePtr named(const std::string& name, NodePtr node) {
    node->look.accessibilityIdentifier = name;
    nodes_[name] = node;
    return node;
  }

  FakeToolkit ui_;
  std::map<std::string, NodePtr, std::less<>> nodes_;
  NodePtr window_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, ViewConformance, FakePage);

}  // namespace
}  // namespace zarn::testing
