#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/json.h"
#include "base/rapidjson.h"
#include "base/text.h"
#include "base/value_access.h"

namespace zarn::base {

namespace {

template <class Number>
std::optional<Number> read(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole ? std::optional<Number>(value) : std::nullopt;
}

/// Of a JSON number that no double holds: whether it is too large rather than too close to zero.
bool isLarge(std::string_view number) {
  const std::size_t digitsEnd = std::min(number.find_first_of("eE"), number.size());
  const std::size_t point = std::min(number.find('.'), digitsEnd);
  const std::size_t leading = number.find_first_of("123456789");
  std::string_view power = number.substr(std::min(digitsEnd + 1, number.size()));
  if (power.starts_with('+')) power.remove_prefix(1);
  const auto places = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(leading);
  return places + read<int>(power).value_or(power.starts_with('-') ? INT_MIN : 0) > 0;
}

/// Builds a Value from the reader's calls, without recursion.
class ValueBuilder {
 public:
  bool Null() { return add(nullptr); }
  bool Bool(bool value) { return add(value); }
  // The reader leaves numbers as text: turning it into doubles itself, it makes 0E222 a large
  // number.
  bool RawNumber(const char* text, rapidjson::SizeType size, bool) {
    const std::string_view number(text, size);
    if (number.find_first_of(".eE") == std::string_view::npos) {
      if (const auto whole = read<std::int64_t>(number)) return add(*whole);
    }
    if (const auto value = read<double>(number)) return add(*value);
    return !isLarge(number) && add(number.front() == '-' ? -0.0 : 0.0);
  }
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(std::int64_t) { return false; }
  bool Uint64(std::uint64_t) { return false; }
  bool Double(double) { return false; }
  bool String(const char* text, rapidjson::SizeType size, bool) {
    return add(std::string(text, size));
  }
  bool Key(const char* text, rapidjson::SizeType size, bool) {
    if (skipping_ == 0) open_.back().key.assign(text, size);
    return true;
  }
  bool StartObject() { return begin(true); }
  bool EndObject(rapidjson::SizeType) { return end(); }
  bool StartArray() { return begin(false); }
  bool EndArray(rapidjson::SizeType) { return end(); }

  Value takeRoot() { return std::move(root_); }

 private:
  /// An array or object under way; of the two only one fills.
  struct Level {
    bool isObject;
    std::string key;  // of the member whose value comes next
    Properties members;
    Array elements;
  };

  bool begin(bool isObject) {
    if (skipping_ > 0 || open_.size() == ValueAccess::kMaxDepth) {
      ++skipping_;
    } else {
      open_.push_back(Level{isObject, {}, {}, {}});
    }
    return true;
  }

  bool end() {
    if (skipping_ > 0) {
      return --skipping_ > 0 || add(std::string(ValueAccess::kTooDeep));
    }
    Level level = std::move(open_.back());
    open_.pop_back();
    return add(level.isObject ? Value(std::move(level.members)) : Value(std::move(level.elements)));
  }

  bool add(Value value) {
    if (skipping_ > 0) return true;
    if (open_.empty()) {
      root_ = std::move(value);
      return true;
    }
    Level& level = open_.back();
    if (level.isObject) {
      level.members.set(level.key, std::move(value));
    } else {
      level.elements.push_back(std::move(value));
    }
    return true;
  }

  Value root_;
  std::vector<Level> open_;
  std::size_t skipping_ = 0;  // levels open below the deepest that is kept
};

std::optional<Value> parseValid(std::string_view text) {
  constexpr unsigned kFlags =
      rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::Reader reader;
  ValueBuilder builder;
  if (reader.Parse<kFlags>(stream, builder).IsError()) return std::nullopt;
  // The reader takes a zero byte for the end of the text.
  if (stream.Tell() != text.size()) return std::nullopt;
  return builder.takeRoot();
}

}  // namespace

std::optional<Value> parseJson(std::string_view text) {
  return isValidUtf8(text) ? parseValid(text) : parseValid(replaceInvalidUtf8(text));
}

}  // namespace zarn::base
