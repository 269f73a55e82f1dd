#include "desktop/http_client.h"

#include <initializer_list>

#include "base/fork_guard.h"
#include "desktop/http_worker.h"
#include "platform/environment.h"

namespace zarn::desktop {

ProxySettings proxiesFrom(platform::Environment& environment) {
  const auto first = [&environment](std::initializer_list<const char*> names) {
    for (const char* name : names) {
      if (auto value = environment.variable(name); value && !value->empty()) return *value;
    }
    return std::string();
  };
  // HTTP_PROXY in upper case is left out on purpose: a web server's child gets it from its clients.
  return {.http = first({"http_proxy", "all_proxy", "ALL_PROXY"}),
          .https = first({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}),
          .bypass = first({"no_proxy", "NO_PROXY"})};
}

CurlHttpClient::CurlHttpClient(PathSource& paths, ProxySettings proxies)
    : worker_(std::make_shared<HttpWorker>(paths, std::move(proxies))) {
  base::watchForks();
}

CurlHttpClient::~CurlHttpClient() {
  stop(base::seconds(5));
}

platform::HttpTaskId CurlHttpClient::start(platform::HttpRequest request, base::SerialQueue& queue,
                                           Completion completion) {
  if (base::inForkedChild()) return 0;  // the thread stayed with the parent
  return worker_->start(std::move(request), queue, std::move(completion));
}

void CurlHttpClient::cancel(platform::HttpTaskId id) {
  if (!base::inForkedChild()) worker_->cancel(id);
}

void CurlHttpClient::stop(base::Duration patience) {
  if (!base::inForkedChild()) worker_->stop(patience);
}

}  // namespace zarn::desktop
