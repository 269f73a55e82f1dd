#include "qt_figures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "null_sink.h"
#include "support/child_process.h"
#include "support/temp_directory.h"

namespace zarn::bench {

#ifdef ZARN_QT_BENCH_PROGRAM
namespace {

constexpr int kRuns = 5;

/// What the runs have told, by name.
class Told {
 public:
  bool run(const testing::TempDirectory& runtime, std::vector<std::string> arguments) {
    testing::ChildProcess app(
        ZARN_QT_BENCH_PROGRAM,
        {.arguments = std::move(arguments), .environment = {{"XDG_RUNTIME_DIR", runtime.path()}}});
    const testing::ChildEnd end = app.wait(std::chrono::minutes(2));
    std::istringstream lines(app.output());
    std::string name;
    for (double value = 0; lines >> name >> value;) values_[name].push_back(value);
    return end.isClean();
  }
  double median(const std::string& name) {
    std::vector<double>& values = values_[name];
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  }

 private:
  std::map<std::string, std::vector<double>> values_;
};

}  // namespace

void addQtFigures(Figures& figures) {
  Told bare, attached;
  for (int run = 0; run < kRuns; ++run) {  // in turns, so that both meet the same machine
    const testing::TempDirectory data, runtime;
    const NullSink sink("tap");
    if (bare.run(runtime, {"bare"}) &&
        attached.run(runtime, {"attached", data.path(), sink.address()}) &&
        sink.acceptedCount() == static_cast<std::uint64_t>(attached.median("taps"))) {
      continue;
    }
    std::fprintf(stderr, "the Qt app has failed: no figures of it\n");
    return;
  }
  figures.add("qt_page_views", attached.median("views"), "views");
  figures.add("observe_200_views_ms", attached.median("observe_ms"), "ms");
  figures.add("collect_rects_200_us", attached.median("collect_rects_us"), "us");
  figures.add("scan_us", attached.median("scan_us"), "us");
  figures.add("tap_us", attached.median("tap_us") - bare.median("tap_us"), "us");
  figures.add("tap_over_bare_tap", attached.median("tap_us") / bare.median("tap_us"), "ratio");
  figures.add("mouse_move_ns", attached.median("move_ns") - bare.median("move_ns"), "ns");
  figures.add("drag_move_ns", attached.median("drag_ns") - bare.median("drag_ns"), "ns");
  figures.add("screenshot_gui_ms", attached.median("screenshot_ms"), "ms");
  figures.add("screenshot_over_grab", attached.median("screenshot_ms") / bare.median("grab_ms"),
              "ratio");
}
#else
void addQtFigures(Figures&) {}
#endif

}  // namespace zarn::bench
