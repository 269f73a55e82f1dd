#include "base/iso8601.h"

#include <algorithm>

namespace zarn::base {

namespace {

using namespace std::chrono;

constexpr Milliseconds kFirst{sys_days{year{0} / January / 1}};
constexpr Milliseconds kLast{sys_days{year{10000} / January / 1} - milliseconds{1}};

/// Writes `count` digits and gives the place behind them.
char* writeDigits(char* at, unsigned value, int count) {
  for (int i = count - 1; i >= 0; --i) {
    at[i] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
  return at + count;
}

/// Everything up to the seconds; gives the place behind it.
char* writeUpToSeconds(char* at, Milliseconds time) {
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const auto second = static_cast<unsigned>(floor<seconds>(time - day).count());
  at = writeDigits(at, static_cast<unsigned>(static_cast<int>(date.year())), 4);
  *at++ = '-';
  at = writeDigits(at, static_cast<unsigned>(date.month()), 2);
  *at++ = '-';
  at = writeDigits(at, static_cast<unsigned>(date.day()), 2);
  *at++ = 'T';
  at = writeDigits(at, second / 3600, 2);
  *at++ = ':';
  at = writeDigits(at, second / 60 % 60, 2);
  *at++ = ':';
  return writeDigits(at, second % 60, 2);
}

/// Takes fixed-width fields off the front of a text.
class Fields {
 public:
  explicit Fields(std::string_view text) : rest_(text) {}

  unsigned number(std::size_t digits) {
    unsigned value = 0;
    for (std::size_t i = 0; i < digits; ++i) value = value * 10 + digit();
    return value;
  }
  unsigned digit() {
    if (!atDigit()) ok_ = false;
    const char c = rest_.empty() ? '0' : rest_.front();
    rest_.remove_prefix(rest_.empty() ? 0 : 1);
    return static_cast<unsigned>(c - '0');
  }
  void literal(char c) {
    if (!tryLiteral(c)) ok_ = false;
  }
  bool tryLiteral(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool atDigit() const { return !rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9'; }
  bool complete() const { return ok_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool ok_ = true;
};

/// The fraction after its point, in milliseconds.
milliseconds readFraction(Fields& fields) {
  unsigned thousandths = fields.digit() * 100;
  unsigned weight = 10;
  for (int read = 1; read < 9 && fields.atDigit(); ++read) {
    thousandths += fields.digit() * weight;
    weight /= 10;
  }
  return milliseconds(thousandths);
}

}  // namespace

Iso8601Text iso8601Seconds(Milliseconds time) {
  Iso8601Text text;
  char* end = writeUpToSeconds(text.chars_.data(), std::clamp(time, kFirst, kLast));
  *end++ = 'Z';
  text.size_ = static_cast<std::uint8_t>(end - text.chars_.data());
  return text;
}

Iso8601Text iso8601Milliseconds(Milliseconds time) {
  time = std::clamp(time, kFirst, kLast);
  Iso8601Text text;
  char* end = writeUpToSeconds(text.chars_.data(), time);
  *end++ = '.';
  end = writeDigits(end, static_cast<unsigned>((time - floor<seconds>(time)).count()), 3);
  *end++ = 'Z';
  text.size_ = static_cast<std::uint8_t>(end - text.chars_.data());
  return text;
}

std::optional<Date> parseIso8601(std::string_view text) {
  Fields fields(text);
  const unsigned y = fields.number(4);
  fields.literal('-');
  const unsigned m = fields.number(2);
  fields.literal('-');
  const unsigned d = fields.number(2);
  fields.literal('T');
  const unsigned hour = fields.number(2);
  fields.literal(':');
  const unsigned minute = fields.number(2);
  fields.literal(':');
  const unsigned second = fields.number(2);
  const milliseconds fraction = fields.tryLiteral('.') ? readFraction(fields) : milliseconds{0};
  fields.literal('Z');
  if (!fields.complete() || hour > 23 || minute > 59 || second > 59) return std::nullopt;

  const year_month_day date(year(static_cast<int>(y)), month(m), day(d));
  if (!date.ok()) return std::nullopt;
  const Milliseconds time =
      sys_days(date) + hours(hour) + minutes(minute) + seconds(second) + fraction;
  if (time > floor<milliseconds>(Date::max())) return Date::max();
  if (time < ceil<milliseconds>(Date::min())) return Date::min();
  return Date(time);
}

}  // namespace zarn::base
