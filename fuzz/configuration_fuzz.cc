// Write key, environment and host as any text: a project, and an address that a request can go to.
#include <cstdlib>
#include <string>

#include "model/configuration.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace zarn::model;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto cut = text.find('\0');
  const std::string key = text.substr(0, cut);
  const std::string host = cut == std::string::npos ? "" : text.substr(cut + 1);
  const Endpoints endpoints{"https://p.example", "https://d.example"};
  const auto resolved =
      resolveConfiguration(key, {.apiHost = host, .environment = key}, host, endpoints);
  if (resolved.configuration.projectId().size() > key.size()) std::abort();
  const std::string url = endpointURL(resolved.configuration.apiHost(), "/api/sdk/init", endpoints);
  if (url.find("://") == std::string::npos || !url.ends_with("/api/sdk/init")) std::abort();
  for (const char c : url) {
    if (static_cast<unsigned char>(c) <= ' ') std::abort();
  }
  return 0;
}
