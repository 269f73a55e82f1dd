// A collector of a test's own: the real program on a free loopback port.
//
//   CollectorProcess collector;                       // starts, waits until it listens
//   options.apiHost = collector.address();            // "http://127.0.0.1:43127"
//   collector.post("/api/collector/faults", R"({"kind":"status","status":503,"count":2})");
//   std::string counts = collector.getJson("/api/collector/counts");
//
// The program is $ZARN_COLLECTOR, else the one that the build names. Everything is
// thread-safe except start, stop and kill. The collector dies with the thread that started it.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace zarn::testing {

class CollectorProcess {
 public:
  struct Options {
    std::filesystem::path dataDirectory;  // empty: a fresh one, removed in the end
    std::vector<std::string> arguments;  // further command line, such as {"--pause", "maintenance"}
    int port = 0;                        // 0: a free one; a restart keeps the first one's
  };

  struct Answer {
    int status = 0;  // 0: no answer
    std::string body;
  };

  /// Starts it and waits, at most 10 s. Throws std::runtime_error with what the program said.
  CollectorProcess() : CollectorProcess(Options{}) {}
  explicit CollectorProcess(Options options);
  ~CollectorProcess();
  CollectorProcess(const CollectorProcess&) = delete;
  CollectorProcess& operator=(const CollectorProcess&) = delete;

  const std::string& address() const { return address_; }
  const std::filesystem::path& dataDirectory() const { return options_.dataDirectory; }
  pid_t pid() const { return pid_; }

  /// The body of a 200; anything else throws std::runtime_error.
  std::string getJson(const std::string& path) const;
  std::string post(const std::string& path, const std::string& json) const;
  /// Any answer as it came.
  Answer request(const std::string& method, const std::string& path, const std::string& body = {},
                 const std::vector<std::string>& headers = {}) const;

  /// SIGTERM, then waits. The exit code, or minus the signal.
  int stop();
  /// SIGKILL, then waits.
  void kill();
  /// Starts it again after stop or kill, on the same port and data.
  void start();

 private:
  int wait();
  void readAddress(int pipe);

  Options options_;
  bool ownsDirectory_ = false;
  pid_t pid_ = -1;
  std::string address_;
};

}  // namespace zarn::testing
