// Tracks numbered events, and writes each number to standard output once its track has returned.
//
//   tracking_host API_HOST DATA LAUNCH COUNT PACE_US [FLUSH_AT]
//   tracking_host API_HOST DATA deliver
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "zarn/desktop.h"
#include "zarn/zarn.h"

using zarn::Zarn;

namespace {

void configure(const char* apiHost, const char* data, int flushAt) {
  zarn::desktop::describeHost(
      {.bundleId = "com.example.tracking", .version = "1.0", .dataDirectory = data});
  Zarn::configure(
      "wk_test_x_tracking_key",
      {.flushInterval = 1, .flushAt = flushAt, .maxBufferSize = 100000, .apiHost = apiHost});
}

int deliver() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline) {
    if (Zarn::flush(5)) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return 1;
}

void say(const std::string& line) {
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) std::abort();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4) {
    configure(argv[1], argv[2], 20);
    return deliver();
  }
  if (argc < 6) return 2;
  configure(argv[1], argv[2], argc > 6 ? std::atoi(argv[6]) : 20);
  const std::string launch = argv[3];
  const int count = std::atoi(argv[4]);
  const int pace = std::atoi(argv[5]);
  say("ready\n");
  for (int i = 1; i <= count; ++i) {
    Zarn::track("numbered",
                {{"launch", launch}, {"number", i}, {"text", "some text to be filtered"}});
    say(std::to_string(i) + "\n");
    if (pace > 0) std::this_thread::sleep_for(std::chrono::microseconds(pace));
  }
  return 0;
}
