// The client processes of the benchmarks: zarn_bench --client ROLE DATA_DIRECTORY API_HOST COUNT
// OUTPUT
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "latencies.h"
#include "store_floor.h"
#include "track_figures.h"
#include "zarn/desktop.h"
#include "zarn/zarn.h"

namespace zarn::bench {
namespace {

void trackOne(int i) {
  Zarn::track("product_viewed", {{"product", i},
                                 {"price", 59.9},
                                 {"name", "blue kettle with a long spout"},
                                 {"on_sale", true},
                                 {"category", "kitchen and table"}});
}

void configure(const std::string& data, const std::string& apiHost) {
  desktop::describeHost({.bundleId = "com.example.bench", .version = "1.0", .dataDirectory = data});
  Zarn::configure("wk_bench_x_bench_key", {.maxBufferSize = 1'000'000, .apiHost = apiHost});
}

void write(const Latencies& latencies, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) std::abort();
  const auto& all = latencies.nanoseconds();
  std::fwrite(all.data(), sizeof(all[0]), all.size(), file);
  std::fclose(file);
}

Latencies trackLatencies(int count) {
  Latencies latencies;
  latencies.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) latencies.time([&] { trackOne(i); });
  return latencies;
}

double millisecondsOf(auto&& call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

}  // namespace

int runTrackClient(int argc, char** argv) {
  if (argc != 7) return 2;
  const std::string role = argv[2], data = argv[3], apiHost = argv[4], output = argv[6];
  const int count = std::atoi(argv[5]);
  if (role == "floor") {
    write(bareInsertLatencies(data, static_cast<std::size_t>(count)), output);
    return 0;
  }
  const double configureMs = millisecondsOf([&] { configure(data, apiHost); });
  if (role == "configure") {
    Latencies took;
    took.add(std::chrono::nanoseconds(static_cast<std::int64_t>(configureMs * 1e6)));
    write(took, output);
  } else if (role == "track") {
    write(trackLatencies(count), output);
  } else if (role == "deliver") {
    while (!Zarn::flush(1)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Latencies whole;
    whole.time([&] {
      for (int i = 0; i < count; ++i) trackOne(i);
      while (!Zarn::flush(30)) std::this_thread::sleep_for(std::chrono::microseconds(100));
    });
    write(whole, output);
  }
  return 0;
}

}  // namespace zarn::bench
