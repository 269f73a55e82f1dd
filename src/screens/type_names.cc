#include "screens/type_names.h"

#include <algorithm>
#include <string>

#include "base/text.h"
#include "screens/class_tables.h"

namespace zarn::screens {
namespace {

constexpr std::string_view kTokenEnds = "<>,() ";

constexpr std::string_view kMachineMadeParts[] = {"anyview",
                                                  "modifiedcontent",
                                                  "tuplevie",
                                                  "_uihostingview",
                                                  "rootmodifier",
                                                  "lazyview",
                                                  "viewmodifier_content",
                                                  "navigationhostingcontroller",
                                                  "_anonymous",
                                                  "swiftuihost"};

bool beginsWithCapital(std::string_view text) {
  const base::CodePoint first = base::codePointAt(text, 0);
  return first.length != 0 && base::lowerCase(first.value) != first.value;
}

bool saysSomething(std::string_view token) {
  return beginsWithCapital(token) && !token.starts_with("SwiftUI.") &&
         !token.starts_with("UIKit") && !isOneOf(token, kHostedTypeNoise) &&
         !endsWithOneOf(token, kHostedTypeNoiseSuffixes);
}

/// Calls `visit` with each part of the text that says something, until it returns false.
template <typename Visit>
void eachToken(std::string_view text, Visit visit) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(kTokenEnds), text.size());
    const std::string_view token = base::trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (saysSomething(token) && !visit(token)) return;
  }
}

}  // namespace

std::optional<std::string_view> parseHostedTypeName(std::string_view text) {
  std::optional<std::string_view> first;
  std::optional<std::string_view> preferred;
  std::size_t bestSuffix = kHostedTypePreferredSuffixes.size();
  eachToken(text, [&](std::string_view token) {
    if (!first) first = token;
    for (std::size_t suffix = 0; suffix < bestSuffix; ++suffix) {
      if (!token.ends_with(kHostedTypePreferredSuffixes[suffix])) continue;
      preferred = token;
      bestSuffix = suffix;
      break;
    }
    return bestSuffix > 0;
  });
  return preferred ? preferred : first;
}

bool isHumanTypeName(std::string_view text) {
  const std::size_t characters = base::countCharacters(text, 65);
  return characters >= 3 && characters <= 64 && beginsWithCapital(text) &&
         !containsOneOf(base::lowerCase(text), kMachineMadeParts);
}

std::string_view withoutControllerSuffix(std::string_view className) {
  for (const std::string_view suffix : {"ViewController", "Controller"}) {
    if (className.ends_with(suffix)) return className.substr(0, className.size() - suffix.size());
  }
  return className;
}

}  // namespace zarn::screens
