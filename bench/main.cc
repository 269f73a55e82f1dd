// Prints the figures of this build: zarn_bench [--json FILE]
#include <cstdio>
#include <string_view>

#include "context_figures.h"
#include "figures.h"
#include "pii_figures.h"
#include "qt_figures.h"
#include "screen_figures.h"
#include "sync_figures.h"
#include "track_figures.h"

int main(int argc, char** argv) {
  using namespace zarn::bench;
  if (argc > 1 && std::string_view(argv[1]) == "--client") return runTrackClient(argc, argv);
  if (argc != 1 && !(argc == 3 && std::string_view(argv[1]) == "--json")) {
    std::fprintf(stderr, "usage: zarn_bench [--json FILE]\n");
    return 2;
  }
  Figures figures;
  addTrackFigures(figures);
  addDeliveryFigures(figures);
  addConfigureFigures(figures);
  addDiagnosticsFigures(figures);
  addNetworkFigures(figures);
  figures.add("context_collect_ms", contextCollectMs(), "ms");
  figures.add("context_first_collect_ms", contextFirstCollectMs(), "ms");
  figures.add("scrub_clean_64_us", scrubClean64Us(), "us");
  figures.add("scrub_hostile_64k_ms", scrubHostile64kMs(), "ms");
  figures.add("sync_idle_over_mutex", syncIdleOverMutex(), "ratio");
  addScreenFigures(figures);
  addQtFigures(figures);
  return argc == 3 && !figures.writeJson(argv[2]) ? 1 : 0;
}
