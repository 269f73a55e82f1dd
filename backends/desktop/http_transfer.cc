#include "desktop/http_transfer.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "desktop/http_client.h"

namespace zarn::desktop {
namespace {

/// As the system's own default, but not inherited by programs that the host starts.
curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

std::string part(CURLU* url, CURLUPart what) {
  char* text = nullptr;
  if (curl_url_get(url, what, &text, 0) != CURLUE_OK) return {};
  std::string copy = text;
  curl_free(text);
  return copy;
}

void setProtocols(CURL* easy) {
#if LIBCURL_VERSION_NUM >= 0x075500
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
#else
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
}

}  // namespace

HttpTransfer::HttpTransfer(platform::HttpTaskId id, platform::HttpRequest request,
                           const base::SerialQueue& queue,
                           platform::HttpClient::Completion completion)
    : id_(id),
      request_(std::move(request)),
      queue_(queue.poster()),
      completion_(std::move(completion)) {}

std::optional<platform::HttpFailure> HttpTransfer::check() {
  for (const auto& [name, value] : request_.headers) {
    if (name.empty() || !isHeaderText(name) || !isHeaderText(value)) {
      return platform::HttpFailure{"a header of the request is malformed"};
    }
  }
  url_.reset(curl_url());
  if (!url_ || request_.method.empty() || !isHeaderText(request_.method) ||
      curl_url_set(url_.get(), CURLUPART_URL, request_.url.c_str(), 0) != CURLUE_OK) {
    return platform::HttpFailure{"the address or the method of the request is malformed"};
  }
  const std::string scheme = part(url_.get(), CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") {
    return platform::HttpFailure{"the address of the request is neither http nor https"};
  }
  secure_ = scheme == "https";
  loopback_ = isLoopbackHost(part(url_.get(), CURLUPART_HOST));
  return std::nullopt;
}

void HttpTransfer::begin(EasyHandle easy, const ProxySettings& proxies, base::Duration timeLeft) {
  easy_ = std::move(easy);
  piece_ = offset_ = 0;
  response_.clear();
  responseTooLong_ = false;
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(timeLeft).count();

  CURL* const handle = easy_.get();
  curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
  curl_easy_setopt(handle, CURLOPT_CURLU, url_.get());
  setProtocols(handle);
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(std::max(milliseconds, 1L)));
#if LIBCURL_VERSION_NUM >= 0x075700
  // Without it, giving up on a slow name lookup would wait for the lookup.
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
#endif
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, openSocket);
  curl_easy_setopt(handle, CURLOPT_TCP_KEEPALIVE, 1L);
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, takeResponse);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
  setMethod();
  setHeaders();
  setProxy(proxies);
}

EasyHandle HttpTransfer::end() {
  curl_easy_reset(easy_.get());
  headers_.reset();
  return std::move(easy_);
}

void HttpTransfer::setMethod() {
  CURL* const handle = easy_.get();
  const std::string& method = request_.method;
  if (method == "HEAD") {
    curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
    return;
  }
  if (request_.body.empty() && method != "POST" && method != "PUT" && method != "PATCH") {
    curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    if (method != "GET") curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
  } else {
    std::size_t total = 0;
    for (const auto& piece : request_.body) total += piece->size();
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(total));
    if (request_.body.size() <= 1) {
      // From where it is, and in one packet with the head where it fits.
      curl_easy_setopt(handle, CURLOPT_POSTFIELDS,
                       request_.body.empty() ? "" : request_.body.front()->data());
    } else {
      curl_easy_setopt(handle, CURLOPT_READFUNCTION, readBody);
      curl_easy_setopt(handle, CURLOPT_READDATA, this);
      curl_easy_setopt(handle, CURLOPT_SEEKFUNCTION, seekBody);
      curl_easy_setopt(handle, CURLOPT_SEEKDATA, this);
    }
    if (method != "POST") curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
  }
}

void HttpTransfer::setHeaders() {
  // An empty entry takes away what libcurl would add by itself: for "Expect" a second of waiting,
  // for "Content-Type" a wrong guess.
  curl_slist* list = curl_slist_append(nullptr, "Expect:");
  list = curl_slist_append(list, "Content-Type:");
  std::string line;
  for (const auto& [name, value] : request_.headers) {
    line.assign(name).append(value.empty() ? ";" : ": ").append(value);
    list = curl_slist_append(list, line.c_str());
  }
  headers_.reset(list);
  curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, list);
}

void HttpTransfer::setProxy(const ProxySettings& proxies) {
  // Always set, also to nothing: otherwise libcurl reads the environment on this thread while the
  // host may be changing it.
  const char* proxy = "";
  if (!loopback_) proxy = secure_ ? proxies.https.c_str() : proxies.http.c_str();
  curl_easy_setopt(easy_.get(), CURLOPT_PROXY, proxy);
  curl_easy_setopt(easy_.get(), CURLOPT_NOPROXY, proxies.bypass.c_str());
}

AttemptError HttpTransfer::errorOf(CURLcode code) const {
  AttemptError error{.curlCode = code};
  curl_easy_getinfo(easy_.get(), CURLINFO_OS_ERRNO, &error.systemError);
  return error;
}

platform::HttpResult HttpTransfer::resultOf(CURLcode code) {
  if (responseTooLong_ || code == CURLE_FILESIZE_EXCEEDED) {
    return platform::HttpFailure{"the answer is longer than " +
                                 std::to_string(request_.maxResponseBytes) + " bytes"};
  }
  if (code != CURLE_OK) return platform::HttpFailure{describe(errorOf(code))};
  long status = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  return platform::HttpResponse{static_cast<int>(status), std::move(response_)};
}

void HttpTransfer::complete(platform::HttpResult result) {
  queue_.async([completion = std::move(completion_), result = std::move(result)]() mutable {
    completion(std::move(result));
  });
}

std::size_t HttpTransfer::readBody(char* out, std::size_t size, std::size_t count, void* self) {
  auto& transfer = *static_cast<HttpTransfer*>(self);
  const auto& body = transfer.request_.body;
  const std::size_t room = size * count;
  std::size_t filled = 0;
  while (filled < room && transfer.piece_ < body.size()) {
    const std::string& piece = *body[transfer.piece_];
    const std::size_t take = std::min(room - filled, piece.size() - transfer.offset_);
    std::memcpy(out + filled, piece.data() + transfer.offset_, take);
    filled += take;
    transfer.offset_ += take;
    if (transfer.offset_ == piece.size()) {
      ++transfer.piece_;
      transfer.offset_ = 0;
    }
  }
  return filled;
}

int HttpTransfer::seekBody(void* self, curl_off_t offset, int origin) {
  // A kept connection may turn out to be closed after part of the body went into it; libcurl then
  // starts again on a new one.
  if (origin != SEEK_SET || offset != 0) return CURL_SEEKFUNC_FAIL;
  auto& transfer = *static_cast<HttpTransfer*>(self);
  transfer.piece_ = transfer.offset_ = 0;
  return CURL_SEEKFUNC_OK;
}

std::size_t HttpTransfer::takeResponse(char* data, std::size_t size, std::size_t count,
                                       void* self) {
  auto& transfer = *static_cast<HttpTransfer*>(self);
  const std::size_t bytes = size * count;
  if (bytes > transfer.request_.maxResponseBytes - transfer.response_.size()) {
    transfer.responseTooLong_ = true;
    return 0;
  }
  transfer.response_.append(data, bytes);
  return bytes;
}

}  // namespace zarn::desktop
