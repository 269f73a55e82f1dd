#include "desktop/locale_facts.h"

#include <langinfo.h>
#include <locale.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <initializer_list>

#include "desktop/small_file.h"
#include "platform/environment.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kLongestName = 64;
constexpr std::size_t kMostLanguages = 16;

bool isLetterOrDigit(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

/// A name as the time zone database has them, such as "Europe/Oslo" or "Etc/GMT+1"; a rule such as
/// "CET-1CEST" is not one.
bool isZoneName(std::string_view text) {
  if (text.empty() || text.size() > kLongestName) return false;
  const bool spelled = std::all_of(text.begin(), text.end(), [](char c) {
    return isLetterOrDigit(c) || c == '/' || c == '_' || c == '-' || c == '+';
  });
  return spelled && text.front() != '/' &&
         (text.find('/') != std::string_view::npos || text == "UTC" || text == "GMT");
}

/// The part of a path below the time zone database.
std::string zoneBelow(std::string_view path) {
  constexpr std::string_view kDatabase = "zoneinfo/";
  const auto at = path.rfind(kDatabase);
  if (at == std::string_view::npos) return {};
  path.remove_prefix(at + kDatabase.size());
  return isZoneName(path) ? std::string(path) : std::string();
}

std::string timezoneOf(platform::Environment& environment, const std::string& root) {
  if (auto variable = environment.variable("TZ"); variable && !variable->empty()) {
    std::string_view name(*variable);
    if (name.front() == ':') name.remove_prefix(1);
    return isZoneName(name) ? std::string(name) : zoneBelow(name);
  }
  // What the C library goes by comes first; /etc/timezone can be out of date.
  std::array<char, 512> target;
  const ssize_t length =
      ::readlink((root + "/etc/localtime").c_str(), target.data(), target.size());
  if (length > 0) {
    auto zone = zoneBelow({target.data(), static_cast<std::size_t>(length)});
    if (!zone.empty()) return zone;
  }
  const std::string line = firstLine(root + "/etc/timezone");
  return isZoneName(line) ? line : std::string();
}

/// The first of the variables that is set, which is how the C library chooses.
std::string firstSet(platform::Environment& environment, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (auto variable = environment.variable(name); variable && !variable->empty()) {
      return *variable;
    }
  }
  return {};
}

bool uses24hFormat(const std::string& localeName) {
  const bool isName = !localeFrom(localeName).empty() && localeName.find('/') == localeName.npos;
  const locale_t locale =
      isName ? ::newlocale(LC_TIME_MASK, localeName.c_str(), locale_t{}) : locale_t{};
  if (locale == locale_t{}) return true;  // as in the C locale
  const bool result = countsTo24(::nl_langinfo_l(T_FMT, locale));
  ::freelocale(locale);
  return result;
}

}  // namespace

std::string localeFrom(std::string_view variable) {
  const std::string_view name = variable.substr(0, variable.find_first_of(".@"));
  const bool spelled =
      std::all_of(name.begin(), name.end(), [](char c) { return isLetterOrDigit(c) || c == '_'; });
  if (!spelled || name.size() < 2 || name.size() > kLongestName || name == "POSIX") return {};
  return std::string(name);
}

std::vector<std::string> languagesFrom(std::string_view list, std::string_view locale) {
  std::vector<std::string> languages;
  const auto add = [&](std::string_view variable) {
    std::string language = localeFrom(variable);
    std::replace(language.begin(), language.end(), '_', '-');
    const bool isKnown = std::find(languages.begin(), languages.end(), language) != languages.end();
    if (language.empty() || isKnown || languages.size() == kMostLanguages) return;
    languages.push_back(std::move(language));
  };
  while (!list.empty()) {
    const auto end = std::min(list.find(':'), list.size());
    add(list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  add(locale);
  return languages;
}

bool countsTo24(std::string_view timeFormat) {
  for (const char* twelve : {"%I", "%l", "%p", "%P", "%r"}) {
    if (timeFormat.find(twelve) != std::string_view::npos) return false;
  }
  return true;
}

platform::LocaleFacts readLocaleFacts(platform::Environment& environment, const std::string& root) {
  platform::LocaleFacts facts;
  facts.timezone = timezoneOf(environment, root);
  facts.locale = localeFrom(firstSet(environment, {"LC_ALL", "LC_MESSAGES", "LANG"}));
  // Without a locale there are no translations, so the list of languages means nothing.
  if (!facts.locale.empty()) {
    facts.languages =
        languagesFrom(environment.variable("LANGUAGE").value_or(std::string()), facts.locale);
  }
  if (const auto at = facts.locale.find('_'); at != std::string::npos) {
    facts.region = facts.locale.substr(at + 1);
  }
  facts.calendar = "gregorian";
  facts.uses24hFormat = uses24hFormat(firstSet(environment, {"LC_ALL", "LC_TIME", "LANG"}));
  return facts;
}

}  // namespace zarn::desktop
