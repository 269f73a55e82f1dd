// Paths of requests: whatever the bytes, a route holds no query, no identifier and no empty
// segment, and cutting the path brings none of them in.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "network/hosts.h"
#include "network/network_record.h"
#include "network/route.h"

namespace {

using namespace zarn::network;

void require(bool condition) {
  if (!condition) std::abort();
}

void checkRoute(std::string_view route, std::size_t pathSize) {
  require(!route.empty() && route.size() <= 3 * pathSize + 1);
  require(route.find_first_of("?#") == std::string_view::npos);
  require(route.find("//") == std::string_view::npos);
  for (std::size_t begin = 0; begin <= route.size();) {
    const auto end = std::min(route.find('/', begin), route.size());
    require(!isIdentifier(route.substr(begin, end - begin)));
    begin = end + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string path(reinterpret_cast<const char*>(data), size);
  checkRoute(routeOf(path), size);
  const std::string stored = storedPath(path);
  require(stored.size() <= 1024 + 4);
  require(stored == path || stored.ends_with("/:id"));
  checkRoute(routeOf(stored), stored.size());
  if (isPlainHost(path)) require(path.find_first_of("@/?# %") == std::string::npos);
  require(!isWithin(comparableHost(path), ""));
  return 0;
}
