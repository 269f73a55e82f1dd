#include "base/json.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "base/iso8601.h"
#include "base/rapidjson.h"
#include "base/text.h"
#include "base/uuid.h"
#include "base/value_access.h"

namespace zarn::base {

namespace {

/// Whether all of `text` is printable ASCII that needs no escape; eight bytes at a time, since
/// nearly all text is.
bool isPlain(std::string_view text) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighs = 0x8080808080808080;
  const auto hasZero = [](std::uint64_t word) { return (word - kOnes) & ~word & kHighs; };
  std::uint64_t special = 0;
  const auto look = [&](std::uint64_t word) {
    special |= (word & kHighs) | ((word - kOnes * 0x20) & ~word & kHighs) |
               hasZero(word ^ kOnes * '"') | hasZero(word ^ kOnes * '\\');
  };
  const char* at = text.data();
  std::size_t left = text.size();
  for (; left >= sizeof(std::uint64_t); at += 8, left -= 8) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    look(word);
  }
  if (left > 0) {
    std::uint64_t word = kOnes * ' ';
    std::memcpy(&word, at, left);
    look(word);
  }
  return special == 0;
}

/// What rapidjson's writer writes to.
struct StringSink {
  using Ch = char;
  std::string& out;
  void Put(char c) { out.push_back(c); }
  void Flush() {}
};

void appendEscaped(std::string& out, std::string_view validUtf8) {
  StringSink sink{out};
  rapidjson::Writer<StringSink> writer(sink);
  writer.String(validUtf8.data(), static_cast<rapidjson::SizeType>(validUtf8.size()));
}

void appendString(std::string& out, std::string_view text) {
  if (isPlain(text)) {
    out += '"';
    out += text;
    out += '"';
  } else if (isValidUtf8(text)) {
    appendEscaped(out, text);
  } else {
    appendEscaped(out, replaceInvalidUtf8(text));
  }
}

/// The shortest text that reads back as the same number, always with a sign of its kind, so that
/// 3.0 does not come back as an integer.
void appendDouble(std::string& out, double value) {
  char buffer[40];
  const double size = std::fabs(value);
  const bool everyday = size == 0 || (size >= 1e-5 && size < 1e15);
  const auto format = everyday ? std::chars_format::fixed : std::chars_format::scientific;
  const char* end = std::to_chars(buffer, buffer + sizeof buffer, value, format).ptr;
  const std::string_view text(buffer, static_cast<std::size_t>(end - buffer));
  out += text;
  if (everyday && text.find('.') == text.npos) out += ".0";
}

double decimalAsDouble(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? number : std::nan("");
}

}  // namespace

void JsonWriter::separate() {
  if (needsComma_) out_ += ',';
  needsComma_ = true;
}

JsonWriter& JsonWriter::beginObject() {
  separate();
  out_ += '{';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::endObject() {
  out_ += '}';
  needsComma_ = true;
  return *this;
}

JsonWriter& JsonWriter::beginArray() {
  separate();
  out_ += '[';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::endArray() {
  out_ += ']';
  needsComma_ = true;
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  separate();
  appendString(out_, name);
  out_ += ':';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::null() {
  separate();
  out_ += "null";
  return *this;
}

JsonWriter& JsonWriter::boolean(bool value) {
  separate();
  out_ += value ? "true" : "false";
  return *this;
}

JsonWriter& JsonWriter::integer(std::int64_t value) {
  separate();
  char buffer[24];
  out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
  return *this;
}

JsonWriter& JsonWriter::number(double value) {
  if (!std::isfinite(value)) return null();
  separate();
  appendDouble(out_, value);
  return *this;
}

JsonWriter& JsonWriter::string(std::string_view text) {
  separate();
  appendString(out_, text);
  return *this;
}

JsonWriter& JsonWriter::value(const Value& value) {
  ValueAccess::visit(value,
                     Overloaded{
                         [this](ValueAccess::Null) { null(); },
                         [this](bool held) { boolean(held); },
                         [this](std::int64_t held) { integer(held); },
                         [this](double held) { number(held); },
                         [this](const std::string& text) { string(text); },
                         [this](const Date& date) { string(iso8601Milliseconds(date)); },
                         [this](const Url& url) { string(url.text); },
                         [this](const Uuid& uuid) {
                           const auto chars = uuidChars(uuid);
                           string({chars.data(), chars.size()});
                         },
                         [this](const Decimal& decimal) { number(decimalAsDouble(decimal.text)); },
                         [this](const ValueAccess::Opaque& opaque) { string(opaque.text); },
                         [this](const Array& array) {
                           beginArray();
                           for (const Value& element : array) this->value(element);
                           endArray();
                         },
                         [this](const Properties& properties) { object(properties); },
                     });
  return *this;
}

JsonWriter& JsonWriter::object(const Properties& properties) {
  beginObject();
  for (const auto& [name, held] : properties) {
    key(name);
    value(held);
  }
  return endObject();
}

JsonWriter& JsonWriter::raw(std::string_view json) {
  if (json.empty()) return *this;
  separate();
  out_ += json;
  return *this;
}

}  // namespace zarn::base
