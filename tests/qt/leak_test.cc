// Pages that come and go without end leave nothing behind.
#include <malloc.h>

#include <QQmlEngine>
#include <QQuickItem>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>

#include "client_process.h"
#include "own_events.h"
#include "qml_app.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZARN_TEST_ADDRESS_SANITIZER 1
#include <sanitizer/allocator_interface.h>
#endif
#endif

namespace zarn::testing {
namespace {

/// For longer runs than those of every day.
constexpr const char* kPages = "ZARN_TEST_PAGES";
/// That may stay behind for each page: less than any page, view or event takes.
constexpr std::size_t kMostBytes = 300;

int pageCount() {
  const char* const wanted = ::getenv(kPages);
  return wanted != nullptr ? std::atoi(wanted) : 1500;
}

/// What has been allocated on the thread of the user interface and not freed; with the sanitizer,
/// on all threads.
std::size_t heldBytes() {
#ifdef ZARN_TEST_ADDRESS_SANITIZER
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

// No page has the name of another, nor the shape of one shortly before: each is told.
constexpr auto kApp = R"(ApplicationWindow {
  function named(number) {
    return 'Kettle' + String(number).padStart(5, '0').replace(/./g, digit => 'bcdfghjklm'[digit])
  }
  function show(number) {
    stack.push(page, { number: number, title: named(number) }, StackView.Immediate)
  }
  function leave() { stack.pop(null, StackView.Immediate) }
  StackView { id: stack; anchors.fill: parent; initialItem: Page { title: 'Shop' } }
  Component { id: page
    Page { id: shown; property int number
      Column {
        Label { visible: shown.number & 1; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 2; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 4; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 8; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 16; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 32; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 64; text: 'Blue' } Button { text: 'Large' }
        Label { visible: shown.number & 128; text: 'Blue' }
        Button { objectName: 'add'; text: 'Add' } } } }
})";

/// Shows pages one by one, each until the library has looked at it and somebody has tapped on it.
class Visitor {
 public:
  void visit(int count) {
    for (const int end = number_ + count; number_ < end; ++number_) {
      QMetaObject::invokeMethod(&app_.window(), "show", Q_ARG(QVariant, number_));
      const int before = own_.looks;
      while (own_.looks == before) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
      app_.click("add");
      app_.call("leave");
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
  }
  /// What is held after so many more.
  std::size_t heldAfter(int count) {
    visit(count);
    qmlEngine(&app_.window())->collectGarbage();
    return heldBytes();
  }

 private:
  QmlApp app_{QmlApp::Documents{{"Main", kApp}}};
  OwnEvents own_;
  int number_ = 0;
};

TEST(LeakProcess, Run) {
  if (!ClientProcess::isThis()) GTEST_SKIP() << "runs in a process that another test starts";
  ClientProcess::startClient();
  Visitor visitor;
  const int count = pageCount();
  const int first = count * 4 / 10;  // the visits that are kept for later are full by then
  const std::size_t before = visitor.heldAfter(first);
  const std::size_t after = visitor.heldAfter(count - first);
  std::printf("%zu bytes after %d pages, %zu after %d\n", before, first, after, count);
  EXPECT_LT(after, before + kMostBytes * static_cast<std::size_t>(count - first));
  ClientProcess::flush();
}

TEST(Leak, NoneIsLeftByPagesThatComeAndGo) {
  ClientProcess process("LeakProcess.Run");
  EXPECT_EQ(process.run(std::chrono::seconds(pageCount() / 5)), 0) << process.output();
  std::printf("%s", process.output().c_str());
  const std::string sent = process.sent();
  const std::regex told(R"re("event_name":"(Kettle[^"]+)")re");
  std::set<std::string> pages;
  for (std::sregex_iterator at(sent.begin(), sent.end(), told), end; at != end; ++at) {
    pages.insert((*at)[1].str());
  }
  EXPECT_GE(pages.size(), static_cast<std::size_t>(pageCount()) * 9 / 10);
}

}  // namespace
}  // namespace zarn::testing
