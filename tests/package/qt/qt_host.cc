// A Qt app as small as they come: what it tracks once its loop has begun, and after it, is on disk.
#include <QGuiApplication>
#include <QTimer>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "zarn/desktop.h"
#include "zarn/qt.h"
#include "zarn/zarn.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  if (argc != 2) return std::fprintf(stderr, "usage: %s DATA_DIRECTORY\n", argv[0]), 2;
  zarn::desktop::describeHost({.bundleId = "com.example.host", .dataDirectory = argv[1]});
  zarn::qt::attach(app);
  zarn::ConfigurationOptions options{.apiHost = "http://127.0.0.1:9"};
  zarn::Zarn::configure("wk_test_x_package_abc", options);
  bool wasLinked = false;
  zarn::Zarn::onDeepLink([&](const zarn::ZarnDeepLink&) {
    wasLinked = true;
    QCoreApplication::quit();
  });
  QTimer::singleShot(0, [] { zarn::Zarn::handleURL("shop://product/7"); });
  QTimer::singleShot(20000, [] { QCoreApplication::quit(); });
  QCoreApplication::exec();
  if (!wasLinked) return std::fprintf(stderr, "no callback came in the loop\n"), 1;
  zarn::Zarn::track("after the loop");

  std::error_code error;
  for (const auto& file : std::filesystem::recursive_directory_iterator(argv[1], error)) {
    if (file.is_regular_file(error) && file.file_size(error) > 0) return 0;
  }
  return std::fprintf(stderr, "nothing was stored in %s\n", argv[1]), 1;
}
