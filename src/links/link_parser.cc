#include "links/link_parser.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <tuple>
#include <utility>
#include <vector>

#include "base/hex.h"
#include "base/percent_encoding.h"
#include "base/text.h"
#include "base/url.h"
#include "platform/crypto.h"

namespace zarn::links {
namespace {

constexpr std::string_view kClickIdParameter = "zarn_click_id";

/// One "name=value" of a query, as it stands there.
struct QueryItem {
  std::string_view text;
  std::string_view name;
  std::optional<std::string_view> value;

  bool operator<(const QueryItem& other) const {
    return std::tuple(name, value.value_or(""), text) <
           std::tuple(other.name, other.value.value_or(""), other.text);
  }
};

struct Query {
  std::vector<QueryItem> items;
  std::string_view rest;  // beyond the most items, from its "&" on
};

QueryItem itemOf(std::string_view text) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos) return {text, text, std::nullopt};
  return {text, text.substr(0, equals), text.substr(equals + 1)};
}

Query splitQuery(std::string_view text) {
  Query query;
  for (std::size_t at = 0;;) {
    const auto end = std::min(text.find('&', at), text.size());
    query.items.push_back(itemOf(text.substr(at, end - at)));
    if (end == text.size()) return query;
    if (query.items.size() == LinkParser::kMaxQueryItems) {
      query.rest = text.substr(end);
      return query;
    }
    at = end + 1;
  }
}

std::string decodedText(std::string_view text) {
  return base::replaceInvalidUtf8(base::percentDecoded(text));
}

std::optional<std::string> shortLinkIdOf(std::string_view path) {
  bool isNext = false;
  for (std::size_t at = 0; at < path.size();) {
    const auto end = std::min(path.find('/', at), path.size());
    const std::string_view segment = path.substr(at, end - at);
    at = end + 1;
    if (segment.empty()) continue;
    if (isNext) {
      if (segment.size() > LinkParser::kMaxShortLinkId) return std::nullopt;
      return std::string(segment);
    }
    isNext = segment == "link";
  }
  return std::nullopt;
}

/// `url` with the items of its query, which lies inside it, in their order.
std::string withSortedQuery(std::string_view url, std::string_view queryText, Query query) {
  std::sort(query.items.begin(), query.items.end());
  const auto begin = static_cast<std::size_t>(queryText.data() - url.data());
  std::string sorted;
  sorted.reserve(url.size());
  sorted += url.substr(0, begin);
  bool isFirst = true;
  for (const QueryItem& item : query.items) {
    if (!std::exchange(isFirst, false)) sorted += '&';
    sorted += item.text;
  }
  sorted += query.rest;
  sorted += url.substr(begin + queryText.size());
  return sorted;
}

}  // namespace

bool isClickId(std::string_view text) {
  constexpr std::array<std::size_t, 5> kGroups = {8, 4, 4, 4, 12};
  std::size_t at = 0;
  for (const std::size_t length : kGroups) {
    if (at > 0 && (at >= text.size() || text[at++] != '-')) return false;
    if (text.size() - at < length) return false;
    const std::string_view group = text.substr(at, length);
    if (!std::all_of(group.begin(), group.end(),
                     [](char c) { return base::hexDigitValue(c) >= 0; })) {
      return false;
    }
    at += length;
  }
  constexpr std::size_t kVersion = 14;
  constexpr std::size_t kVariant = 19;
  return at == text.size() && text[kVersion] >= '1' && text[kVersion] <= '5' &&
         std::string_view("89abAB").find(text[kVariant]) != std::string_view::npos;
}

std::optional<std::string> clickIdOf(const std::map<std::string, std::string>& parameters) {
  const auto found = parameters.find(std::string(kClickIdParameter));
  if (found == parameters.end() || !isClickId(found->second)) return std::nullopt;
  return found->second;
}

std::optional<ParsedLink> LinkParser::parse(std::string_view url) const {
  if (url.size() > kMaxLength) return std::nullopt;
  const auto parts = base::splitUrl(url);
  if (!parts) return std::nullopt;
  Query query;
  if (parts->query) query = splitQuery(*parts->query);
  ParsedLink parsed;
  parsed.isWeb = base::isWebScheme(parts->scheme);
  parsed.host = decodedText(parts->host);
  parsed.path = decodedText(parts->path);
  for (const QueryItem& item : query.items) {
    if (item.value) parsed.parameters[decodedText(item.name)] = decodedText(*item.value);
  }
  parsed.shortLinkId = shortLinkIdOf(parsed.path);
  parsed.clickId = clickIdOf(parsed.parameters);
  if (parsed.shortLinkId) {
    parsed.dedupKey = *parsed.shortLinkId;
  } else {
    const std::string sorted =
        parts->query ? withSortedQuery(url, *parts->query, std::move(query)) : std::string(url);
    parsed.dedupKey = base::shortHash(crypto_.sha256(sorted));
  }
  return parsed;
}

}  // namespace zarn::links
