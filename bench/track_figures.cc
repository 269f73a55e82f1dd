#include "track_figures.h"

#include <filesystem>
#include <fstream>

#include "latencies.h"
#include "null_sink.h"
#include "support/child_process.h"
#include "support/temp_directory.h"

namespace zarn::bench {
namespace {

constexpr const char* kNobody = "http://127.0.0.1:9";  // nothing listens: events stay on the disk

/// Runs one client and adds what it measured.
void runClient(const std::string& role, const std::string& data, const std::string& apiHost,
               int count, Latencies& latencies) {
  const std::string output = data + "/latencies";
  testing::ChildProcess client("/proc/self/exe", {.arguments = {"--client", role, data, apiHost,
                                                                std::to_string(count), output}});
  client.wait(std::chrono::minutes(2));
  std::ifstream file(output, std::ios::binary);
  for (std::int64_t took = 0; file.read(reinterpret_cast<char*>(&took), sizeof(took));) {
    latencies.add(std::chrono::nanoseconds(took));
  }
}

/// Each run in a fresh folder.
void runClient(const std::string& role, const std::string& apiHost, int count,
               Latencies& latencies) {
  const testing::TempDirectory data;
  runClient(role, data.path(), apiHost, count, latencies);
}

}  // namespace

void addTrackFigures(Figures& figures) {
  constexpr int kRuns = 8;
  constexpr int kCount = 5000;
  Latencies floor, alone, beside, withPolicy;
  for (int run = 0; run < kRuns; ++run) {  // in turns, so that all meet the same machine
    runClient("floor", kNobody, kCount, floor);
    runClient("track", kNobody, kCount, alone);
    const NullSink sink;
    runClient("track", sink.address(), kCount, beside);
    runClient("policy", sink.address(), kCount, withPolicy);
  }
  const auto ratio = [&](const Latencies& of, double fraction) {
    return static_cast<double>(of.percentile(fraction)) /
           static_cast<double>(floor.percentile(fraction));
  };
  figures.add("floor_median_us", floor.percentileMicroseconds(0.5), "us");
  figures.add("floor_p99_us", floor.percentileMicroseconds(0.99), "us");
  figures.add("floor_p999_us", floor.percentileMicroseconds(0.999), "us");
  figures.add("track_median_us", alone.percentileMicroseconds(0.5), "us");
  figures.add("track_p99_us", alone.percentileMicroseconds(0.99), "us");
  figures.add("track_p999_us", alone.percentileMicroseconds(0.999), "us");
  figures.add("track_median_over_floor", ratio(alone, 0.5), "ratio");
  figures.add("track_p99_over_floor_p99", ratio(alone, 0.99), "ratio");
  figures.add("admit_with_policy_median_us", withPolicy.percentileMicroseconds(0.5), "us");
  figures.add("admit_with_policy_median_over_floor", ratio(withPolicy, 0.5), "ratio");
  figures.add("track_beside_delivery_median_us", beside.percentileMicroseconds(0.5), "us");
  figures.add("track_beside_delivery_p99_us", beside.percentileMicroseconds(0.99), "us");
  figures.add("track_beside_delivery_p999_us", beside.percentileMicroseconds(0.999), "us");
}

void addDeliveryFigures(Figures& figures) {
  constexpr int kEvents = 20'000;
  Latencies whole;
  for (int run = 0; run < 3; ++run) {
    const NullSink sink;
    runClient("deliver", sink.address(), kEvents, whole);
    if (sink.acceptedCount() != kEvents) return;  // no figure for what did not arrive
  }
  figures.add("delivery_events_per_s", kEvents * 1e9 / static_cast<double>(whole.percentile(0.5)),
              "1/s");
}

void addDiagnosticsFigures(Figures& figures) {
  const NullSink sink;
  Latencies latencies;
  runClient("diagnostics", sink.address(), 20'000, latencies);
  figures.add("diagnostics_us", latencies.percentileMicroseconds(0.5), "us");
}

void addNetworkFigures(Figures& figures) {
  const NullSink sink;
  Latencies latencies;
  runClient("network", sink.address(), 2000, latencies);
  figures.add("network_record_ns", static_cast<double>(latencies.percentile(0.5)), "ns");
}

void addConfigureFigures(Figures& figures) {
  Latencies first, again;
  for (int run = 0; run < 15; ++run) {
    const testing::TempDirectory data;
    runClient("configure", data.path(), kNobody, 0, first);
    runClient("configure", data.path(), kNobody, 0, again);
  }
  figures.add("configure_first_ms", first.percentileMicroseconds(0.5) / 1000, "ms");
  figures.add("configure_ms", again.percentileMicroseconds(0.5) / 1000, "ms");
}

}  // namespace zarn::bench
