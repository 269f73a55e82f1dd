// Telling the library of requests that the host makes with libcurl.
//
//   CURL* curl = curl_easy_init();
//   curl_easy_setopt(curl, CURLOPT_URL, url);
//   auto observation = zarn::desktop::observe(curl);  // once the address is set
//   observation.finished(curl_easy_perform(curl));
//
// With a multi handle, keep the observation beside the easy handle, for one transfer, and tell it
// what the message says:
//
//   if (message->msg == CURLMSG_DONE) request.observation.finished(message->data.result);
//
// Only readings of the host's own libcurl (7.61 or later) are taken, none of its options is
// touched, and the library itself is not linked against it. Not part of zarn/zarn.h.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "zarn/network.h"
#include "zarn/zarn.h"

namespace zarn::desktop {
inline namespace ZARN_VERSION_NAMESPACE {

/// One transfer of an easy handle. Use it on the handle's thread, and let it go before the handle
/// is reset or cleaned up. Without `finished`, letting go of it records a transfer that took place.
/// Nothing throws.
class [[nodiscard]] RequestObservation {
 public:
  RequestObservation(CURL* handle, std::shared_ptr<NetworkDelegate> delegate) noexcept
      : handle_(handle), delegate_(std::move(delegate)) {
    if (handle_ == nullptr) return;
    before_ = clocks();
    url_ = copyOf(text(handle_, CURLINFO_EFFECTIVE_URL));
  }
  RequestObservation(RequestObservation&& other) noexcept
      : handle_(std::exchange(other.handle_, nullptr)),
        url_(std::move(other.url_)),
        delegate_(std::move(other.delegate_)),
        task_(other.task_),
        before_(other.before_) {}
  RequestObservation& operator=(RequestObservation&& other) noexcept {
    if (this == &other) return *this;
    letGo();
    handle_ = std::exchange(other.handle_, nullptr);
    url_ = std::move(other.url_);
    delegate_ = std::move(other.delegate_);
    task_ = other.task_;
    before_ = other.before_;
    return *this;
  }
  ~RequestObservation() { letGo(); }

  /// The transfer has ended with `result`. Later calls do nothing.
  void finished(CURLcode result) noexcept {
    if (CURL* handle = std::exchange(handle_, nullptr)) report(handle, result != CURLE_OK);
  }

  /// The request, for hosts that tell of it by other ways as well.
  const NetworkTask& task() const noexcept { return task_; }

 private:
  /// What a transfer changes, in microseconds; an earlier one of the same handle leaves its own.
  struct Clocks {
    curl_off_t total = 0, begun = 0;
  };
  Clocks clocks() const noexcept {
    return {number(handle_, CURLINFO_TOTAL_TIME_T), number(handle_, CURLINFO_PRETRANSFER_TIME_T)};
  }
  static curl_off_t number(CURL* handle, CURLINFO info) noexcept {
    curl_off_t value = 0;
    return curl_easy_getinfo(handle, info, &value) == CURLE_OK ? value : 0;
  }
  static long whole(CURL* handle, CURLINFO info) noexcept {
    long value = 0;
    return curl_easy_getinfo(handle, info, &value) == CURLE_OK ? value : 0;
  }
  static const char* text(CURL* handle, CURLINFO info) noexcept {
    char* value = nullptr;
    return curl_easy_getinfo(handle, info, &value) == CURLE_OK ? value : nullptr;
  }
  static double seconds(CURL* handle, CURLINFO info) noexcept {
    return static_cast<double>(number(handle, info)) / 1e6;
  }

  void letGo() noexcept {
    if (handle_ == nullptr) return;
    const Clocks now = clocks();
    const bool tookPlace = now.total != before_.total || now.begun != before_.begun;
    CURL* handle = std::exchange(handle_, nullptr);
    if (tookPlace) report(handle, whole(handle, CURLINFO_RESPONSE_CODE) == 0);
  }

  void report(CURL* handle, bool hasError) noexcept {
    if (!delegate_) return;
    TransferReadings readings;
    readings.wasRedirected = whole(handle, CURLINFO_REDIRECT_COUNT) > 0;
    // After redirects libcurl knows the last address only; but it makes a bare name whole.
    const bool knowsFirst = url_.find("://") != std::string::npos;
    readings.url =
        readings.wasRedirected && knowsFirst ? url_.c_str() : text(handle, CURLINFO_EFFECTIVE_URL);
#if LIBCURL_VERSION_NUM >= 0x074800
    readings.method = text(handle, CURLINFO_EFFECTIVE_METHOD);
#endif
    readings.status = whole(handle, CURLINFO_RESPONSE_CODE);
    readings.hasError = hasError;
    readings.total = seconds(handle, CURLINFO_TOTAL_TIME_T);
    readings.nameFound = seconds(handle, CURLINFO_NAMELOOKUP_TIME_T);
    // With TLS the connection stands once it is secure.
    const double secure = seconds(handle, CURLINFO_APPCONNECT_TIME_T);
    readings.connected = secure > 0 ? secure : seconds(handle, CURLINFO_CONNECT_TIME_T);
    readings.firstByte = seconds(handle, CURLINFO_STARTTRANSFER_TIME_T);
    readings.isConnectionReused = whole(handle, CURLINFO_NUM_CONNECTS) == 0;
    readings.bytesSent = number(handle, CURLINFO_SIZE_UPLOAD_T);
    readings.bytesReceived = number(handle, CURLINFO_SIZE_DOWNLOAD_T);
    reportTransfer(*delegate_, task_, readings);
  }

  CURL* handle_;     // null once the transfer has been told, or was moved on
  std::string url_;  // as the host gave it
  std::shared_ptr<NetworkDelegate> delegate_;
  NetworkTask task_;
  Clocks before_;
};

/// Watches the next transfer of `handle`, whose address is set already (and anew after a redirected
/// one): a transfer that is redirected counts for the address it was begun with. `delegate` is told
/// of the request; by default it is one proxy for the whole process.
inline RequestObservation observe(CURL* handle,
                                  std::shared_ptr<NetworkDelegate> delegate = nullptr) noexcept {
  if (!delegate) {
    // Never destroyed: requests may go on while the process ends.
    static const auto& process = *new std::shared_ptr<NetworkDelegate>(Zarn::networkDelegate());
    delegate = process;
  }
  return {handle, std::move(delegate)};
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::desktop
