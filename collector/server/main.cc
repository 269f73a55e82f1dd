// zarn-collector: a development server that takes what a host's library sends, keeps it, shows it,
// and misbehaves on demand.
#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <thread>

#include "server/assets.h"
#include "server/control_api.h"
#include "server/http_server.h"
#include "server/options.h"
#include "server/time_text.h"
#include "server/wire_api.h"

namespace zarn::collector {
namespace {

constexpr int kStopped = 0;
constexpr int kWrongArguments = 2;
constexpr int kDataUnusable = 3;
constexpr int kCannotListen = 4;

int fail(int code, const std::string& message) {
  std::fprintf(stderr, "zarn-collector: %s\n", message.c_str());
  return code;
}

// Before any thread starts, so that only the waiting main thread ever meets them.
sigset_t blockSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);
  return signals;
}

int serve(const Options& options) {
  const sigset_t signals = blockSignals();
  umask(077);
  std::string error;
  const auto store = Store::open(options.dataDirectory, error);
  if (!store) {
    return fail(kDataUnusable,
                "cannot use the data directory " + options.dataDirectory + ": " + error);
  }
  FaultBoard faults;
  for (FaultRule rule : options.faults) faults.add(rule);
  if (options.paused) faults.pause(*options.paused);
  LiveFeed feed;
  HttpServer server(faults, feed, options.mostBodyBytes);
  if (!server.bind(options.port)) {
    return fail(kCannotListen, "cannot listen on 127.0.0.1:" + std::to_string(options.port) +
                                   "; is the port taken?");
  }
  const Assets assets(options.webDirectory.empty() ? defaultViewerDirectory()
                                                   : std::filesystem::path(options.webDirectory));
  const std::string address = "http://127.0.0.1:" + std::to_string(server.port());
  ProjectBook book(*store);
  AnswerBook answers(*store);
  WireApi wire(*store, book, answers, faults, feed);
  ControlApi control(*store, faults, feed,
                     {ZARN_COLLECTOR_VERSION, address, options.dataDirectory, options.mostBodyBytes,
                      assets.hasViewer(), nowMs()});
  ProjectApi projects(*store, book, answers, feed);
  ReportApi reports(*store);
  Router router(wire, control, projects, reports, assets);
  std::thread serving([&] { server.run(router); });
  std::printf("zarn-collector: listening on %s\n", address.c_str());
  std::fflush(stdout);

  int signal = 0;
  sigwait(&signals, &signal);
  store->stop();
  server.stop();
  serving.join();
  return kStopped;
}

int runProgram(const std::vector<std::string>& arguments) {
  std::string error;
  const auto options = readOptions(arguments, error);
  if (!options) return fail(kWrongArguments, error + "\nSee zarn-collector --help.");
  if (options->wantsHelp || options->wantsVersion) {
    std::fputs(options->wantsHelp ? kUsage : "zarn-collector " ZARN_COLLECTOR_VERSION "\n", stdout);
    return kStopped;
  }
  return serve(*options);
}

}  // namespace
}  // namespace zarn::collector

// The HTTP library is not built for the thread sanitizer, which then misses that its static tables
// are made under a lock.
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libcpp-httplib.so\n";
}

int main(int argc, char** argv) {
  return zarn::collector::runProgram({argv + 1, argv + argc});
}
