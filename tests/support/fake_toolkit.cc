#include "support/fake_toolkit.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/fake_toolkit_access.h"
#include "support/fake_transform.h"

namespace zarn::testing {

void FakeNode::add(NodePtr child) {
  child->parent = this;
  children.push_back(std::move(child));
}

void FakeNode::remove(const NodePtr& child) {
  std::erase(children, child);
  child->parent = nullptr;
}

struct FakeScreenEvents::Selection final : platform::Observation {
  FakeScreen* tabs = nullptr;
  std::function<void(std::optional<int>, std::optional<int>)> changed;
};

std::unique_ptr<platform::Observation> FakeScreenEvents::observeSelection(
    const platform::Screen& tabs,
    std::function<void(std::optional<int>, std::optional<int>)> changed) {
  auto selection = std::make_shared<Selection>();
  selection->changed = std::move(changed);
  selection->tabs = toolkit_.find(tabs.id());
  selections_.push_back(selection);
  struct Handle final : platform::Observation {
    std::shared_ptr<Selection> held;
  };
  auto handle = std::make_unique<Handle>();
  handle->held = std::move(selection);
  return handle;
}

void FakeScreenEvents::appear(const ScreenPtr& screen) {
  const auto told = listeners;
  for (const auto& listener : told) {
    if (listener.appeared) listener.appeared({toolkit_, screen.get()});
  }
}

void FakeScreenEvents::layOut(const ScreenPtr& screen) {
  const auto told = listeners;
  for (const auto& listener : told) {
    if (listener.laidOut) listener.laidOut({toolkit_, screen.get()});
  }
}

void FakeScreenEvents::select(const ScreenPtr& tabs, std::optional<int> index) {
  const auto before = std::exchange(tabs->look.selectedIndex, index);
  const auto told = selections_;
  for (const auto& weak : told) {
    const auto selection = weak.lock();
    if (selection && selection->tabs == tabs.get()) selection->changed(before, index);
  }
}

std::size_t FakeScreenEvents::selectionObservers() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(selections_, [](const auto& weak) { return !weak.expired(); }));
}

void FakeWindows::each(base::FunctionRef<bool(const platform::Window&)> visit) {
  const auto shown = roots;
  for (const ScreenPtr& root : shown) {
    if (root->isDead || root->look.view == nullptr || root->look.view->isDead) continue;
    FakeNode* top = root->look.view.get();
    while (top->parent != nullptr) top = top->parent;
    if (!visit({.view = {views_, top}, .screen = {screens_, root.get()}})) return;
  }
}

namespace {

/// Where a node lies in a picture: a point of it is where the way back leads into its bounds.
struct Shape {
  Transform back;
  base::Size size;
  bool contains(base::Point at) const {
    return base::Rect{0, 0, size.width, size.height}.contains(back.apply(at));
  }
};

struct Painter {
  platform::Bitmap& into;
  std::vector<Shape> clips = {};

  void paint(const FakeNode& node, const Transform& around, double alpha) {
    const NodeLook& look = node.look;
    if (look.isHidden) return;
    alpha *= look.alpha;
    const Transform inWindow = toParent(look).then(around);
    const Shape shape{inWindow.inverted(), {look.frame.width, look.frame.height}};
    const base::Rect box = inWindow.around({0, 0, look.frame.width, look.frame.height});
    if (!look.drawsNothing) fill(box, shape, node.color, alpha);
    if (look.clipsChildren) clips.push_back(shape);
    for (const NodePtr& child : node.children) paint(*child, inWindow, alpha);
    if (look.clipsChildren) clips.pop_back();
  }

  void fill(const base::Rect& box, const Shape& shape, std::uint32_t color, double alpha) {
    const auto pixel = [&](double points, int most) {
      return std::clamp(static_cast<int>(std::floor(points * into.scale)), 0, most);
    };
    for (int y = pixel(box.y, into.height); y < pixel(box.bottom() + 1, into.height); ++y) {
      for (int x = pixel(box.x, into.width); x < pixel(box.right() + 1, into.width); ++x) {
        const base::Point at{(x + 0.5) / into.scale, (y + 0.5) / into.scale};
        const auto shows = [&](const Shape& clip) { return clip.contains(at); };
        if (!shape.contains(at) || !std::ranges::all_of(clips, shows)) continue;
        mix(into.row(y) + std::ptrdiff_t{x} * 4, color, alpha);
      }
    }
  }

  static void mix(std::uint8_t* pixel, std::uint32_t color, double alpha) {
    for (int channel = 0; channel < 3; ++channel) {
      const double own = (color >> (16 - 8 * channel)) & 0xff;
      pixel[channel] = static_cast<std::uint8_t>(pixel[channel] * (1 - alpha) + own * alpha);
    }
  }
};

}  // namespace

bool FakeWindows::draw(const platform::View& window, double maxWidth, platform::Bitmap& into) {
  ++draws;
  if (drawsNothing) return false;
  if (duringDraw) duringDraw();
  const FakeNode* top = nullptr;
  each([&](const platform::Window& shown) {
    if (shown.view == window) top = views_.find(shown.view);
    return top == nullptr;
  });
  if (top == nullptr) return false;
  const base::Rect& frame = top->look.frame;
  into.scale = std::min(1.0, maxWidth / frame.width);
  into.width = static_cast<int>(std::lround(frame.width * into.scale));
  into.height = static_cast<int>(std::lround(frame.height * into.scale));
  into.pixels.assign(
      static_cast<std::size_t>(into.width) * static_cast<std::size_t>(into.height) * 4, 255);
  Painter{into}.paint(*top, Transform{1, 0, 0, 1, -frame.x, -frame.y}, 1);
  if (afterDraw) afterDraw();
  return true;
}

namespace {

/// The topmost node at this place, which is in the parent's coordinates, that is not hidden.
FakeNode* nodeAt(FakeNode& node, base::Point location) {
  const NodeLook& look = node.look;
  const base::Point inside = toParent(look).inverted().apply(location);
  if (look.isHidden || look.alpha <= 0) return nullptr;
  const bool isInside = base::Rect{0, 0, look.frame.width, look.frame.height}.contains(inside);
  if (look.clipsChildren && !isInside) return nullptr;
  for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) {
    if (FakeNode* found = nodeAt(**child, inside)) return found;
  }
  return isInside ? &node : nullptr;
}

}  // namespace

platform::View FakeInputEvents::hitTest(const platform::View& window, base::Point location) {
  FakeNode* const top = views_.find(window);
  FakeNode* const hit = top != nullptr ? nodeAt(*top, location) : nullptr;
  return hit != nullptr ? platform::View(views_, hit) : platform::View();
}

void FakeInputEvents::tap(const NodePtr& window, base::Point location) {
  tapAt(*window, location);
}

void FakeInputEvents::tapAt(FakeNode& window, base::Point location) {
  const auto told = listeners;
  FakeNode* control = nodeAt(window, location);
  while (control != nullptr && !control->look.isControl) control = control->parent;
  for (const auto& listener : told) {
    if (listener.tapped) listener.tapped({.window = {views_, &window}, .location = location});
    if (listener.activated && control != nullptr && !control->look.isDisabled) {
      listener.activated({views_, control});
    }
  }
}

void FakeInputEvents::tap(const NodePtr& node) {
  FakeNode* top = node.get();
  while (top->parent != nullptr) top = top->parent;
  tapAt(*top, toTop(node.get()).apply({node->look.frame.width / 2, node->look.frame.height / 2}));
}

void FakeInputEvents::beginScroll(const NodePtr& scroll) {
  const auto told = listeners;
  for (const auto& listener : told) {
    if (listener.scrollBegan) listener.scrollBegan({views_, scroll.get()});
  }
}

void FakeInputEvents::endScroll(const NodePtr& scroll) {
  const auto told = listeners;
  for (const auto& listener : told) {
    if (listener.scrollEnded) listener.scrollEnded({views_, scroll.get()});
  }
}

std::optional<std::string> FakeImageCodec::encodeJpeg(const platform::Bitmap& bitmap,
                                                      double quality) {
  qualities.push_back(quality);
  if (fails) return std::nullopt;
  std::string bytes = std::to_string(bitmap.width) + " " + std::to_string(bitmap.height) + "\n";
  bytes.append(bitmap.pixels.begin(), bitmap.pixels.end());
  last = bytes;
  return bytes;
}

platform::Bitmap FakeImageCodec::decode(const std::string& bytes) {
  platform::Bitmap bitmap;
  const auto end = bytes.find('\n');
  if (std::sscanf(bytes.c_str(), "%d %d", &bitmap.width, &bitmap.height) == 2 &&
      end != std::string::npos) {
    bitmap.pixels.assign(bytes.begin() + static_cast<std::ptrdiff_t>(end) + 1, bytes.end());
  }
  return bitmap;
}

FakeToolkit::FakeToolkit()
    : views_(std::make_unique<FakeViewToolkit>()),
      pages_(std::make_unique<FakeScreenToolkit>(*views_)),
      screens(*pages_),
      windows(*views_, *pages_),
      input(*views_) {}

FakeToolkit::~FakeToolkit() = default;

NodePtr FakeToolkit::node(NodeLook look, std::vector<NodePtr> children) {
  auto made = std::make_shared<FakeNode>();
  made->look = std::move(look);
  for (NodePtr& child : children) made->add(std::move(child));
  views_->own(made);
  // Far apart, and never black.
  made->color = (views_->count() * 0x9e3779u & 0xffffffu) | 0x202020u;
  return made;
}

NodePtr FakeToolkit::label(std::string text, base::Rect frame, double pointSize, bool isBold) {
  return node({.classText = "Label",
               .kind = platform::ViewKind::label,
               .frame = frame,
               .text = std::move(text),
               .font = {.pointSize = pointSize, .weight = isBold ? 0.4 : 0.0, .isBold = isBold}});
}

NodePtr FakeToolkit::button(std::string text, base::Rect frame) {
  return node({.classText = "Button",
               .kind = platform::ViewKind::button,
               .frame = frame,
               .text = std::move(text),
               .isControl = true});
}

NodePtr FakeToolkit::field(base::Rect frame, platform::TextContentType contentType,
                           std::string text) {
  return node({.classText = "TextField",
               .kind = platform::ViewKind::textField,
               .frame = frame,
               .text = std::move(text),
               .contentType = contentType,
               .isControl = true,
               .acceptsTextInput = true});
}

NodePtr FakeToolkit::secureField(base::Rect frame, std::string text) {
  NodePtr made = field(frame, platform::TextContentType::none, std::move(text));
  made->look.isSecureTextEntry = true;
  return made;
}

NodePtr FakeToolkit::list(base::Rect frame, const std::vector<std::string>& rows) {
  constexpr double kRowHeight = 60;
  std::vector<NodePtr> cells;
  for (const std::string& row : rows) {
    const double y = kRowHeight * static_cast<double>(cells.size());
    cells.push_back(node({.classText = "Cell",
                          .kind = platform::ViewKind::cell,
                          .frame = {0, y, frame.width, kRowHeight},
                          .reuseIdentifier = "Cell"},
                         {label(row, {16, 16, frame.width - 32, 28})}));
  }
  return node({.classText = "ListView",
               .kind = platform::ViewKind::list,
               .frame = frame,
               .clipsChildren = true},
              std::move(cells));
}

ScreenPtr FakeToolkit::screen(ScreenLook look) {
  auto made = std::make_shared<FakeScreen>();
  made->look = std::move(look);
  for (const ScreenPtr& child : made->look.children) child->parent = made.get();
  const auto ensure = [&](NodePtr& shown, platform::ViewKind kind) {
    if (shown == nullptr) shown = node({.kind = kind});
  };
  ensure(made->look.navigationLabel, platform::ViewKind::label);
  ensure(made->look.tab, platform::ViewKind::button);
  ensure(made->look.tabBar, platform::ViewKind::tabBar);
  return pages_->own(made);
}

NodePtr FakeToolkit::window(const ScreenPtr& root) {
  auto top = node({.classText = "Window", .frame = {0, 0, 390, 844}}, {root->look.view});
  top->isWindow = true;
  windows.roots.push_back(root);
  return top;
}

platform::View FakeToolkit::view(const NodePtr& node) {
  return {*views_, node.get()};
}

platform::Screen FakeToolkit::screenOf(const ScreenPtr& screen) {
  return {*pages_, screen.get()};
}

void FakeToolkit::kill(const NodePtr& node) {
  views_->kill(*node);
}

void FakeToolkit::kill(const ScreenPtr& screen) {
  screen->isDead = true;
  if (screen->look.view != nullptr) views_->kill(*screen->look.view);
}

void FakeToolkit::killAfter(int questions, const NodePtr& node) {
  views_->killAt = views_->questions + questions;
  views_->victim = node.get();
}

int FakeToolkit::questions() const {
  return views_->questions;
}

}  // namespace zarn::testing
