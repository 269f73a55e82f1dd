// The little of JSON that the collector's parts share: a writer that builds text, and error texts.
//
//   JsonOut out;
//   out.object().field("unique", 3).key("types").array().value("tap").end().end();
//   answer.body = out.take();
#pragma once

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

class JsonOut {
 public:
  JsonOut& object() {
    open_.push_back('}');
    writer_.StartObject();
    return *this;
  }
  JsonOut& array() {
    open_.push_back(']');
    writer_.StartArray();
    return *this;
  }
  /// Closes the innermost object or array.
  JsonOut& end() {
    const bool isObject = open_.back() == '}';
    open_.pop_back();
    if (isObject) {
      writer_.EndObject();
    } else {
      writer_.EndArray();
    }
    return *this;
  }
  JsonOut& key(std::string_view name) {
    writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    return *this;
  }
  JsonOut& value(std::string_view text) {
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return *this;
  }
  JsonOut& value(const char* text) { return value(std::string_view(text)); }
  JsonOut& value(bool flag) {
    writer_.Bool(flag);
    return *this;
  }
  template <std::integral T>
  requires(!std::same_as<T, bool>) JsonOut& value(T number) {
    writer_.Int64(static_cast<std::int64_t>(number));
    return *this;
  }
  JsonOut& value(double number) {
    writer_.Double(number);
    return *this;
  }
  JsonOut& null() {
    writer_.Null();
    return *this;
  }
  /// Text that is JSON already; empty text becomes null.
  JsonOut& raw(std::string_view json) {
    if (json.empty()) return null();
    writer_.RawValue(json.data(), json.size(), rapidjson::kObjectType);
    return *this;
  }
  JsonOut& strings(const std::vector<std::string>& texts) {
    array();
    for (const std::string& text : texts) value(text);
    return end();
  }
  template <class T>
  JsonOut& field(std::string_view name, const T& content) {
    return key(name).value(content);
  }
  /// The key is left out when the text is empty.
  JsonOut& optional(std::string_view name, std::string_view text) {
    return text.empty() ? *this : key(name).value(text);
  }

  std::string take() const { return {buffer_.GetString(), buffer_.GetSize()}; }

 private:
  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
  std::vector<char> open_;
};

inline std::string_view textOf(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

/// The value as text.
std::string jsonOf(const rapidjson::Value& value);

/// A JSON array of strings; empty text for an empty list.
inline std::string jsonList(const std::vector<std::string>& texts) {
  if (texts.empty()) return {};
  return JsonOut().strings(texts).take();
}

/// Parses a whole text without recursion, refusing broken UTF-8. Says what is wrong, and where.
bool parseJson(std::string_view text, rapidjson::Document& document, std::string& error);

}  // namespace zarn::collector
