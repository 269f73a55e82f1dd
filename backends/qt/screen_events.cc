#include "qt/screen_events.h"

#include <QGuiApplication>

#include "qt/gui_thread.h"
#include "qt/screen_hooks.h"

namespace zarn::qt {
namespace {

class SelectionObservation final : public platform::Observation {
 public:
  explicit SelectionObservation(std::shared_ptr<ScreenHooks::Selection> selection)
      : selection_(std::move(selection)) {}
  // The closure may be running just now, and goes when the hooks next look at their list.
  ~SelectionObservation() override { selection_->isOver = true; }

 private:
  const std::shared_ptr<ScreenHooks::Selection> selection_;
};

}  // namespace

QtScreenEvents::QtScreenEvents() = default;
QtScreenEvents::~QtScreenEvents() {
  end();
}

void QtScreenEvents::end() {
  delete hooks_;
}

ScreenHooks* QtScreenEvents::hooks() {
  if (!onGuiThread()) return nullptr;  // the loop has ended, or has not been found
  if (hooks_.isNull() && qGuiApp != nullptr) hooks_ = new ScreenHooks(*qGuiApp);
  return hooks_;
}

void QtScreenEvents::listen(platform::ScreenListener listener) {
  if (ScreenHooks* const installed = hooks()) installed->add(std::move(listener));
}

std::unique_ptr<platform::Observation> QtScreenEvents::observeSelection(
    const platform::Screen& tabs,
    std::function<void(std::optional<int>, std::optional<int>)> changed) {
  ScreenHooks* const installed = hooks();
  if (installed == nullptr || !tabs || !changed) return nullptr;
  auto selection = std::make_shared<ScreenHooks::Selection>();
  selection->tabs = tabs.weak();
  selection->id = tabs.id();
  selection->changed = std::move(changed);
  installed->add(selection);
  return std::make_unique<SelectionObservation>(std::move(selection));
}

}  // namespace zarn::qt
