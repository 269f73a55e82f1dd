#include "network/network_record.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace zarn::network {
namespace {

using Method = NetworkRecord::Method;

constexpr std::size_t kLongestPath = 1024;  // bytes
constexpr std::array<std::string_view, 8> kMethodWords = {"GET",    "POST", "PUT",     "PATCH",
                                                          "DELETE", "HEAD", "OPTIONS", "OTHER"};
constexpr auto kOther = static_cast<std::size_t>(Method::other);

constexpr char upperCase(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

Method methodOf(std::string_view word) {
  if (word.empty()) return Method::get;
  const auto isSame = [word](std::string_view known) {
    return std::equal(word.begin(), word.end(), known.begin(), known.end(),
                      [](char a, char b) { return upperCase(a) == b; });
  };
  std::size_t method = 0;
  while (method < kOther && !isSame(kMethodWords[method])) ++method;
  return static_cast<Method>(method);
}

std::string_view wordOf(Method method) {
  return kMethodWords[static_cast<std::size_t>(method)];
}

std::int32_t millisecondsOf(double seconds) {
  if (!std::isfinite(seconds)) return NetworkRecord::kUnknown;
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp(seconds * 1000, 0.0, kMost));
}

std::int32_t clampedBytes(std::int64_t count) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(count, 0, kMost));
}

std::int16_t clampedStatus(std::int64_t status) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(std::clamp<std::int64_t>(status, Limits::min(), Limits::max()));
}

std::string storedPath(std::string_view path) {
  if (path.size() <= kLongestPath) return std::string(path);
  const auto end = path.rfind('/', kLongestPath);
  std::string stored(path.substr(0, end == std::string_view::npos ? 0 : end));
  stored += "/:id";
  return stored;
}

}  // namespace zarn::network
