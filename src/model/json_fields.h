// Records and their JSON, from one table a record: what reads it and what writes it cannot drift
// apart.
//
//   template <>
//   inline constexpr auto kFields<Point> = fields(Field{"x", &Point::x}, Field{"y", &Point::y});
//
// A member that is an optional may be missing or null; any other must be there. Members are bool,
// int, std::int64_t, double, std::string, lists of text, other records, and maps from text to
// records. Keys that no table names are ignored.
//
// For source files and internal headers only: it is heavy to compile.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "zarn/value.h"

namespace zarn::model {

template <typename Record, typename T>
struct Field {
  constexpr Field(std::string_view name, T Record::*pointer) : key(name), member(pointer) {}
  std::string_view key;
  T Record::*member;
};

template <typename... Fields>
constexpr auto fields(Fields... all) {
  return std::tuple<Fields...>(all...);
}

/// The table of a record, in the order of its text.
template <typename Record>
inline constexpr std::nullptr_t kFields = nullptr;

template <typename T>
inline constexpr bool isOptionalMember = false;
template <typename T>
inline constexpr bool isOptionalMember<std::optional<T>> = true;

using Strings = std::vector<std::string>;
template <typename Record>
using RecordMap = std::map<std::string, Record>;
template <typename T>
inline constexpr bool isRecordMap = false;
template <typename Record>
inline constexpr bool isRecordMap<RecordMap<Record>> = true;

/// Of the first key whose value does not fit, the path, such as "replay.sampleRate".
using Misfit = std::string;

inline std::optional<std::int64_t> integerIn(const Value& value) {
  if (const auto integer = value.asInt()) return integer;
  const auto number = value.asDouble();  // 80.0 is an integer too
  if (!number || std::trunc(*number) != *number || std::abs(*number) > 0x1.0p53)
    return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

inline std::optional<int> smallIntegerIn(const Value& value) {
  const auto integer = integerIn(value);
  if (!integer || *integer < std::numeric_limits<int>::min() ||
      *integer > std::numeric_limits<int>::max())
    return std::nullopt;
  return static_cast<int>(*integer);
}

inline std::optional<double> numberIn(const Value& value) {
  if (const auto integer = value.asInt()) return static_cast<double>(*integer);
  return value.asDouble();
}

inline std::optional<std::string> textIn(const Value& value) {
  const auto text = value.asString();
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

inline std::optional<Strings> stringsIn(const Value& value) {
  const Array* array = value.asArray();
  if (array == nullptr) return std::nullopt;
  Strings strings;
  for (const Value& element : *array) {
    auto text = textIn(element);
    if (!text) return std::nullopt;
    strings.push_back(*std::move(text));
  }
  return strings;
}

template <typename Record>
std::optional<Record> recordIn(const Value& value, Misfit& misfit);

template <typename Record>
std::optional<RecordMap<Record>> recordsIn(const Value& value, Misfit& misfit) {
  const Properties* object = value.asProperties();
  if (object == nullptr) return std::nullopt;
  RecordMap<Record> records;
  for (const auto& [key, element] : *object) {
    auto record = recordIn<Record>(element, misfit);
    if (!record) return std::nullopt;
    records.emplace(key, *std::move(record));
  }
  return records;
}

/// Nothing when the value is of another type than T.
template <typename T>
std::optional<T> readAs(const Value& value, Misfit& misfit) {
  if constexpr (std::is_same_v<T, bool>) {
    return value.asBool();
  } else if constexpr (std::is_same_v<T, int>) {
    return smallIntegerIn(value);
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return integerIn(value);
  } else if constexpr (std::is_same_v<T, double>) {
    return numberIn(value);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return textIn(value);
  } else if constexpr (std::is_same_v<T, Strings>) {
    return stringsIn(value);
  } else if constexpr (isRecordMap<T>) {
    return recordsIn<typename T::mapped_type>(value, misfit);
  } else {
    return recordIn<T>(value, misfit);
  }
}

template <typename Record, typename T>
bool readField(const Properties& object, const Field<Record, T>& field, Record& record,
               Misfit& misfit) {
  const Value* value = object.find(field.key);
  bool fits = false;
  if constexpr (isOptionalMember<T>) {
    if (value == nullptr || value->isNull()) return true;
    auto& member = record.*field.member;
    member = readAs<typename T::value_type>(*value, misfit);
    fits = member.has_value();
  } else if (value != nullptr) {
    auto read = readAs<T>(*value, misfit);
    fits = read.has_value();
    if (fits) record.*field.member = *std::move(read);
  }
  if (!fits) misfit.insert(0, misfit.empty() ? field.key : std::string(field.key) + ".");
  return fits;
}

/// Nothing when the value is no object or one of its members does not fit; `misfit` then tells
/// which, and is empty in the first case. It must be empty before.
template <typename Record>
std::optional<Record> recordIn(const Value& value, Misfit& misfit) {
  const Properties* object = value.asProperties();
  if (object == nullptr) return std::nullopt;
  Record record;
  const bool fits = std::apply(
      [&](const auto&... field) { return (readField(*object, field, record, misfit) && ...); },
      kFields<Record>);
  if (!fits) return std::nullopt;
  return record;
}

template <typename T>
Value valueOf(const T& member);

/// The members that are there, in the order of the table.
template <typename Record>
Properties propertiesOf(const Record& record) {
  Properties object;
  const auto add = [&](const auto& field) {
    const auto& member = record.*field.member;
    if constexpr (isOptionalMember<std::decay_t<decltype(member)>>) {
      if (member) object.set(field.key, valueOf(*member));
    } else {
      object.set(field.key, valueOf(member));
    }
  };
  std::apply([&](const auto&... field) { (add(field), ...); }, kFields<Record>);
  return object;
}

template <typename T>
Value valueOf(const T& member) {
  if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, std::string>) {
    return Value(member);
  } else if constexpr (std::is_same_v<T, Strings>) {
    return Array(member.begin(), member.end());
  } else if constexpr (isRecordMap<T>) {
    Properties object;
    for (const auto& [key, record] : member) object.set(key, propertiesOf(record));
    return object;
  } else {
    return propertiesOf(member);
  }
}

}  // namespace zarn::model
