// One request on its way: what libcurl is told of it, what it reads and what has come back. Used on
// the network thread only.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

#include "desktop/http_rules.h"
#include "platform/http.h"

namespace zarn::desktop {

struct ProxySettings;

struct CurlDeleter {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using EasyHandle = std::unique_ptr<CURL, CurlDeleter>;

class HttpTransfer {
 public:
  HttpTransfer(platform::HttpTaskId id, platform::HttpRequest request,
               const base::SerialQueue& queue, platform::HttpClient::Completion completion);
  HttpTransfer(const HttpTransfer&) = delete;
  HttpTransfer& operator=(const HttpTransfer&) = delete;

  platform::HttpTaskId id() const { return id_; }
  bool waitsForConnectivity() const { return request_.waitsForConnectivity && !loopback_; }

  /// Checks the request; a failure is final.
  std::optional<platform::HttpFailure> check();
  /// Readies a handle for one attempt that ends after `timeLeft`; after a passed `check`.
  void begin(EasyHandle easy, const ProxySettings& proxies, base::Duration timeLeft);
  CURL* easy() const { return easy_.get(); }
  /// Takes the handle back when the attempt has ended.
  EasyHandle end();

  /// What the ended attempt means, by libcurl's code; before `end`.
  AttemptError errorOf(CURLcode code) const;
  platform::HttpResult resultOf(CURLcode code);

  /// Hands the result to the queue. Once.
  void complete(platform::HttpResult result);

 private:
  void setMethod();
  void setHeaders();
  void setProxy(const ProxySettings& proxies);
  static std::size_t readBody(char* out, std::size_t size, std::size_t count, void* self);
  static int seekBody(void* self, curl_off_t offset, int origin);
  static std::size_t takeResponse(char* data, std::size_t size, std::size_t count, void* self);

  const platform::HttpTaskId id_;
  const platform::HttpRequest request_;
  const base::SerialQueue::Poster queue_;
  platform::HttpClient::Completion completion_;

  std::unique_ptr<CURLU, CurlDeleter> url_;
  bool loopback_ = false;
  bool secure_ = false;

  EasyHandle easy_;
  std::unique_ptr<curl_slist, CurlDeleter> headers_;
  std::size_t piece_ = 0;   // of the body, next to be sent
  std::size_t offset_ = 0;  // in that piece
  std::string response_;
  bool responseTooLong_ = false;
};

}  // namespace zarn::desktop
