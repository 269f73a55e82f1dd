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

/// Whether any of the eight bytes is a control character, outside ASCII, a quote or a backslash.
bool hasSpecial(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighs = 0x8080808080808080;
  const std::uint64_t quote = word ^ kOnes * '"';
  const std::uint64_t backslash = word ^ kOnes * '\\';
  return (((word - kOnes * ' ') | (quote - kOnes) | (backslash - kOnes) | word) & kHighs) != 0;
}

template <typename Word>
std::uint64_t load(const char* at) {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

/// Whether `text` is printable ASCII that needs no escape, as nearly all text is; eight bytes at a
/// time, the last ones overlapping.
bool isPlain(std::string_view text) {
  const std::size_t size = text.size();
  const char* const end = text.data() + size;
  if (size >= 8) {
    for (const char* at = text.data(); at < end - 8; at += 8) {
      if (hasSpecial(load<std::uint64_t>(at))) return false;
    }
    return !hasSpecial(load<std::uint64_t>(end - 8));
  }
  if (size >= 4) {
    return !hasSpecial(load<std::uint32_t>(text.data()) << 32 | load<std::uint32_t>(end - 4));
  }
  std::uint64_t word = 0x2020202020202020;
  for (const char c : text) word = word << 8 | static_cast<unsigned char>(c);
  return !hasSpecial(word);
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
    const std::size_t start = out.size();
    out.resize(start + text.size() + 2, '"');
    if (!text.empty()) std::memcpy(out.data() + start + 1, text.data(), text.size());
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

JsonWriter& JsonWriter::shortNumber(float value) {
  if (!std::isfinite(value)) return null();
  separate();
  char buffer[32];
  out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
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
