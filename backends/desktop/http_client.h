// The HTTP client on libcurl: every transfer of a client runs on one network thread, which starts
// with the first request and sleeps in the kernel when nothing is under way.
//
//   CurlHttpClient http(paths, proxiesFrom(environment));
//   http.start({.url = "http://127.0.0.1:8090/health"}, queue, [](platform::HttpResult result) {});
#pragma once

#include <memory>
#include <string>

#include "platform/http.h"

namespace zarn::platform {
class Environment;
}

namespace zarn::desktop {

class HttpWorker;
class PathSource;

/// Proxies as the environment names them, read once: the environment must not be read while the
/// host may be changing it. Empty means none.
struct ProxySettings {
  std::string http;
  std::string https;
  std::string bypass;  // hosts to reach directly, separated by commas
};
ProxySettings proxiesFrom(platform::Environment& environment);

class CurlHttpClient final : public platform::HttpClient {
 public:
  /// `paths` must outlive the client.
  CurlHttpClient(PathSource& paths, ProxySettings proxies);
  /// Stops.
  ~CurlHttpClient() override;

  platform::HttpTaskId start(platform::HttpRequest request, base::SerialQueue& queue,
                             Completion completion) override;
  void cancel(platform::HttpTaskId id) override;

  /// Ends the network thread, waiting at most `patience` for it. Requests under way and later ones
  /// get a failure.
  void stop(base::Duration patience);

 private:
  const std::shared_ptr<HttpWorker> worker_;
};

}  // namespace zarn::desktop
