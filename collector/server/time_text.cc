#include "server/time_text.h"

#include <chrono>
#include <cstdio>

namespace zarn::collector {

namespace chrono = std::chrono;

std::int64_t nowMs() {
  return chrono::duration_cast<chrono::milliseconds>(chrono::system_clock::now().time_since_epoch())
      .count();
}

std::string isoText(std::int64_t ms) {
  const chrono::sys_time<chrono::milliseconds> time{chrono::milliseconds(ms)};
  const auto day = chrono::floor<chrono::days>(time);
  const chrono::year_month_day date{day};
  const chrono::hh_mm_ss clock{time - day};
  char text[48];
  std::snprintf(
      text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

std::optional<std::int64_t> parseWireTime(std::string_view text) {
  constexpr std::string_view form = "dddd-dd-ddTdd:dd:ddZ";
  if (text.size() != form.size()) return std::nullopt;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const bool fits = form[i] == 'd' ? text[i] >= '0' && text[i] <= '9' : text[i] == form[i];
    if (!fits) return std::nullopt;
  }
  const auto number = [&](std::size_t at, std::size_t digits) {
    int value = 0;
    for (std::size_t i = at; i < at + digits; ++i) value = value * 10 + (text[i] - '0');
    return value;
  };
  const chrono::year_month_day date{chrono::year(number(0, 4)),
                                    chrono::month(static_cast<unsigned>(number(5, 2))),
                                    chrono::day(static_cast<unsigned>(number(8, 2)))};
  if (!date.ok() || number(11, 2) > 23 || number(14, 2) > 59 || number(17, 2) > 59) {
    return std::nullopt;
  }
  const chrono::sys_seconds time = chrono::sys_days(date) + chrono::hours(number(11, 2)) +
                                   chrono::minutes(number(14, 2)) + chrono::seconds(number(17, 2));
  return time.time_since_epoch().count();
}

}  // namespace zarn::collector
