#include <limits>
#include <vector>

#include "base/json.h"
#include "base/rapidjson.h"
#include "base/text.h"
#include "base/value_access.h"

namespace zarn::base {

namespace {

/// Builds a Value from the reader's calls, without recursion.
class ValueBuilder {
 public:
  bool Null() { return add(nullptr); }
  bool Bool(bool value) { return add(value); }
  bool Int(int value) { return add(value); }
  bool Uint(unsigned value) { return add(value); }
  bool Int64(std::int64_t value) { return add(value); }
  bool Uint64(std::uint64_t value) {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
    return value <= kLargest ? add(value) : add(static_cast<double>(value));
  }
  bool Double(double value) { return add(value); }
  // Called only for a reader that leaves numbers as text.
  bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; }
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
  constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag;
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
