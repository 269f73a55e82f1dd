// Counts what the library gets to do in the loop of the user interface: the events and timers of
// its own objects.
#pragma once

#include <QEvent>
#include <QGuiApplication>
#include <QObject>
#include <string_view>
#include <typeinfo>

namespace zarn::testing {

class OwnEvents final : public QObject {
 public:
  OwnEvents() { qGuiApp->installEventFilter(this); }

  int tasks = 0;   // turns of the main executor
  int looks = 0;   // at the screens in sight
  int others = 0;  // of any other object of the library's

  bool eventFilter(QObject* receiver, QEvent* event) override {
    const std::string_view type = typeid(*receiver).name();
    const auto isOf = [&](std::string_view name) { return type.find(name) != type.npos; };
    if (isOf("zarn2qt12MainExecutor")) {
      ++tasks;
    } else if (isOf("zarn2qt11ScreenHooks")) {
      looks += event->type() == QEvent::Timer ? 1 : 0;
    } else if (isOf("zarn2qt")) {
      ++others;
    }
    return false;
  }
};

}  // namespace zarn::testing
