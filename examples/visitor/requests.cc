#include "requests.h"

#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

#include "journal.h"
#include "zarn/curl.h"

namespace {

struct Request {
  const char* host;
  const char* path;   // as it goes out, with all that must not be told
  const char* route;  // as it is to be told
  int times = 1;
  const char* user = "";         // "name:password@"
  const char* posted = nullptr;  // the body of a POST
};

constexpr Request kRequests[] = {
    {"api.prints.example", "/v1/posters?session=basket-of-eve", "/v1/posters", 6},
    {"api.prints.example", "/v1/posters/77120345", "/v1/posters/:id"},
    {"api.prints.example", "/v1/posters/77120346", "/v1/posters/:id"},
    {"api.prints.example", "/v1/people/eve@friend.example/orders", "/v1/people/:id/orders"},
    {"api.prints.example", "/v1/people/eve%40friend.example/orders", "/v1/people/:id/orders"},
    {"api.prints.example", "/v1/slow/6ba7b810-9dad-41d1-80b4-00c04fd430c8", "/v1/slow/:id"},
    {"api.prints.example", "/v1/gone/6ba7b8109dad41d180b400c04fd430c8", "/v1/gone/:id"},
    {"images.prints.example", "/thumbs/ev3s-p0rtrait-by-the-harbour#eve", "/thumbs/:id", 4},
    {"images.prints.example", "/broken/4000123499567897", "/broken/:id", 2},
    {.host = "pay.example",
     .path = "/cards/tok_9f8e7d6c5b4a39281706/charges",
     .route = "/cards/:id/charges",
     .user = "eve:swordfish-77@",
     .posted = "card=4000123499567897"},
};

/// The name is the server's own, and found on this machine.
bool perform(CURL* curl, const Request& request, const std::string& port) {
  const std::string place = std::string(request.host) + ":" + port;
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> names(
      curl_slist_append(nullptr, (place + ":127.0.0.1").c_str()), curl_slist_free_all);
  const std::string url = "http://" + std::string(request.user) + place + request.path;
  curl_easy_reset(curl);
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_RESOLVE, names.get());
  if (request.posted != nullptr) curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.posted);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, 10L);
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
  curl_easy_setopt(
      curl, CURLOPT_WRITEFUNCTION,
      +[](char*, size_t size, size_t count, void*) { return size * count; });
  auto observation = zarn::desktop::observe(curl);
  const CURLcode result = curl_easy_perform(curl);
  observation.finished(result);
  return result == CURLE_OK;
}

}  // namespace

void requestAll(const char* port, Journal& journal) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(),
                                                                 curl_easy_cleanup);
  if (!curl) return;
  for (const Request& request : kRequests) {
    for (int i = 0; i < request.times; ++i) {
      long status = 0;
      if (perform(curl.get(), request, port)) {
        curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
      }
      journal.note("request", std::string(request.host) + " " + request.route + " " +
                                  (status == 0 ? "error" : std::to_string(status / 100) + "xx"));
    }
  }
}
