#include "network/route.h"

#include <algorithm>
#include <array>

#include "base/hex.h"
#include "base/percent_encoding.h"

namespace zarn::network {
namespace {

constexpr std::size_t kUuidLength = 36;
constexpr std::size_t kShortestHexId = 16;
constexpr std::size_t kShortestToken = 20;
constexpr std::size_t kLongestName = 64;  // bytes
constexpr std::ptrdiff_t kFewestDigitsOfNumber = 9;

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isHexDigit(char c) {
  return base::hexDigitValue(c) >= 0;
}

bool isUuid(std::string_view segment) {
  if (segment.size() != kUuidLength) return false;
  for (std::size_t i = 0; i < kUuidLength; ++i) {
    const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
    if (isDash ? segment[i] != '-' : !isHexDigit(segment[i])) return false;
  }
  return true;
}

bool isAddress(std::string_view segment) {
  const auto first = segment.find('@');
  if (first == std::string_view::npos) return false;
  const auto inside = segment.find('@', 1);
  return inside != std::string_view::npos && inside + 1 < segment.size() &&
         segment.find('.', first + 1) != std::string_view::npos;
}

bool isToken(std::string_view segment) {
  return segment.size() >= kShortestToken &&
         std::all_of(segment.begin(), segment.end(),
                     [](char c) { return isDigit(c) || isLetter(c) || c == '_' || c == '-'; }) &&
         std::any_of(segment.begin(), segment.end(), isLetter) &&
         std::any_of(segment.begin(), segment.end(), isDigit);
}

/// Telephone and card numbers: digits with signs between them.
bool isWrittenNumber(std::string_view segment) {
  return std::count_if(segment.begin(), segment.end(), isDigit) >= kFewestDigitsOfNumber &&
         std::none_of(segment.begin(), segment.end(),
                      [](char c) { return isLetter(c) || static_cast<unsigned char>(c) >= 0x80; });
}

/// "@ada_l", wherever it stands.
bool holdsHandle(std::string_view segment) {
  constexpr std::size_t kShortest = 3;
  const auto belongs = [](char c) { return isDigit(c) || isLetter(c) || c == '_' || c == '.'; };
  for (auto at = segment.find('@'); at != std::string_view::npos; at = segment.find('@', at + 1)) {
    const std::string_view name = segment.substr(at + 1, kShortest);
    if (name.size() == kShortest && std::all_of(name.begin(), name.end(), belongs)) return true;
  }
  return false;
}

/// A bank account's number: two letters, two digits, and 11 to 30 of both.
bool isBankAccount(std::string_view segment) {
  return segment.size() >= 15 && segment.size() <= 34 &&
         std::all_of(segment.begin(), segment.end(),
                     [](char c) { return isDigit(c) || isLetter(c); }) &&
         isLetter(segment[0]) && isLetter(segment[1]) && isDigit(segment[2]) && isDigit(segment[3]);
}

/// Two JSON objects in base64, and a signature.
bool isWebToken(std::string_view segment) {
  return segment.find("eyJ") < segment.find(".eyJ") && segment.find(".eyJ") != segment.npos;
}

/// Encoded more than once: what it holds can't be told.
bool isStillEncoded(std::string_view segment) {
  return segment.find('%') != segment.npos && base::percentDecoded(segment) != segment;
}

/// No part of an interface: signed tokens, titles, names of people and files.
bool isFreeText(std::string_view segment) {
  return segment.size() > kLongestName || std::any_of(segment.begin(), segment.end(), [](char c) {
           return static_cast<unsigned char>(c) <= ' ' || c == '\x7f';
         });
}

}  // namespace

// Routes don't pass the filter for personal data, which would take them apart: what it looks for
// must not get through here.
bool isIdentifier(std::string_view segment) {
  if (segment.empty()) return false;
  if (std::all_of(segment.begin(), segment.end(), isDigit) || isUuid(segment)) return true;
  if (segment.size() >= kShortestHexId && std::all_of(segment.begin(), segment.end(), isHexDigit)) {
    return true;
  }
  return isAddress(segment) || isToken(segment) || isWrittenNumber(segment) ||
         isStillEncoded(segment) || isFreeText(segment) || holdsHandle(segment) ||
         isBankAccount(segment) || isWebToken(segment);
}

std::string routeOf(std::string_view rawPath) {
  const std::string decoded = base::percentDecoded(rawPath);
  std::string_view path = decoded;
  path = path.substr(0, path.find_first_of("?#"));
  if (path.empty()) return "/";
  const bool isOpen = path.size() > 1 && path.back() == '/';
  std::string route;
  if (path.front() == '/') route = "/";
  for (bool isFirst = true; !path.empty();) {
    const auto end = std::min(path.find('/'), path.size());
    const std::string_view segment = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (segment.empty()) continue;
    if (!isFirst) route += '/';
    isFirst = false;
    route += isIdentifier(segment) ? std::string_view(":id") : segment;
  }
  if (isOpen && !route.ends_with('/')) route += '/';
  return route;
}

std::string_view statusBucketOf(std::int16_t statusCode) {
  constexpr std::array<std::string_view, 4> kClasses = {"2xx", "3xx", "4xx", "5xx"};
  const int hundreds = statusCode / 100;
  return hundreds >= 2 && hundreds <= 5 ? kClasses[static_cast<std::size_t>(hundreds - 2)]
                                        : "error";
}

}  // namespace zarn::network
