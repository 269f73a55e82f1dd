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

void configure(const std::string& data, ConfigurationOptions options) {
  desktop::describeHost({.bundleId = "com.example.bench", .version = "1.0", .dataDirectory = data});
  Zarn::configure("wk_bench_x_bench_key", std::move(options));
}

Latencies trackLatencies(int count) {
  Latencies latencies;
  latencies.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) latencies.time([&] { trackOne(i); });
  return latencies;
}

void waitForPolicy() {
  while (!Zarn::flush(1)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

/// Under a policy, with a user, their properties and a session; nothing is sent meanwhile.
Latencies latenciesWithPolicy(int count) {
  waitForPolicy();
  Zarn::identify("customer-4711", {{"plan", "gold"}, {"email", "ida@example.com"}});
  Zarn::setSuperProperties({{"shop", "harbour street"}, {"theme", "dark"}});
  Zarn::setExperimentVariant("checkout", "short");
  return trackLatencies(count);
}

Latencies diagnosticsLatencies(int count) {
  waitForPolicy();
  std::size_t sum = 0;
  Latencies latencies;
  latencies.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    latencies.time([&] { sum += Zarn::diagnostics().replayStatus.size(); });
  }
  if (sum == 0) std::abort();
  return latencies;
}

/// Each is the mean of a hundred: recording one takes hardly longer than reading the clock twice.
Latencies recordingLatencies(int count) {
  constexpr int kTogether = 100;
  waitForPolicy();
  const auto proxy = Zarn::networkDelegate();
  const NetworkMetrics metrics{
      .url = "https://api.shop.example/v2/customers/4711/orders/9153/items",
      .status = 200,
      .duration = 0.12,
      .bytesReceived = 5120,
      .transactions = {{.fetchStart = 0, .connectStart = 0.01, .connectEnd = 0.03}}};
  Latencies latencies;
  latencies.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const auto start = std::chrono::steady_clock::now();
    for (int k = 0; k < kTogether; ++k) proxy->didFinishCollectingMetrics(NetworkTask(), metrics);
    latencies.add((std::chrono::steady_clock::now() - start) / kTogether);
  }
  return latencies;
}

void write(const Latencies& latencies, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) std::abort();
  const auto& all = latencies.nanoseconds();
  std::fwrite(all.data(), sizeof(all[0]), all.size(), file);
  std::fclose(file);
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
  // Where the count of events matters, only those that are tracked count.
  ConfigurationOptions options{
      .autoTrackSessions = role == "policy", .maxBufferSize = 1'000'000, .apiHost = apiHost};
  if (role == "policy") {
    options.flushAt = options.maxBufferSize;
    options.flushInterval = 3600;
  }
  const double configureMs = millisecondsOf([&] { configure(data, options); });
  if (role == "configure") {
    Latencies took;
    took.add(std::chrono::nanoseconds(static_cast<std::int64_t>(configureMs * 1e6)));
    write(took, output);
  } else if (role == "track") {
    write(trackLatencies(count), output);
  } else if (role == "policy") {
    write(latenciesWithPolicy(count), output);
  } else if (role == "diagnostics") {
    write(diagnosticsLatencies(count), output);
  } else if (role == "network") {
    write(recordingLatencies(count), output);
  } else if (role == "deliver") {
    waitForPolicy();
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
