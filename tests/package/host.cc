// A host as small as they come: its event must be on disk when it ends, though no server is there.
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "zarn/desktop.h"
#include "zarn/zarn.h"

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s DATA_DIRECTORY\n", argv[0]), 2;
  zarn::desktop::describeHost({.bundleId = "com.example.host", .dataDirectory = argv[1]});
  zarn::ConfigurationOptions options{.apiHost = "http://127.0.0.1:9"};
  zarn::Zarn::configure("wk_test_x_package_abc", options);
  zarn::Zarn::track("opened", {{"items", 3}, {"total", 59.9}, {"coupon", nullptr}});
  if (zarn::Zarn::flush(0.2)) return std::fprintf(stderr, "delivered to nobody\n"), 1;

  std::error_code error;
  for (const auto& file : std::filesystem::recursive_directory_iterator(argv[1], error)) {
    if (file.is_regular_file(error) && file.file_size(error) > 0) return 0;
  }
  return std::fprintf(stderr, "nothing was stored in %s\n", argv[1]), 1;
}
