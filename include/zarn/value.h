// Values that a host attaches to events, users and groups.
//
//   zarn::Properties cart{{"items", 3}, {"total", 59.9}, {"coupon", nullptr}};
//   cart.set("tags", zarn::Array{"sale", "summer"});
//   cart.set("address", zarn::Properties{{"city", "Oslo"}});
//
// Values are plain: copy them, move them, use one object on one thread at a time.
#pragma once

#include <array>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "zarn/export.h"

namespace zarn::base {
struct ValueAccess;
}

ZARN_NAMESPACE_BEGIN

class Value;

/// A point in time; sent in UTC.
using Date = std::chrono::system_clock::time_point;

/// A list of values, in order.
using Array = std::vector<Value>;

/// A web address or link, sent as its text.
struct Url {
  std::string text;
  friend bool operator==(const Url&, const Url&) = default;
};

/// A number given as decimal text, such as "19.99"; sent as the nearest double, as null when the
/// text is no number or one that no double can hold.
struct Decimal {
  std::string text;
  friend bool operator==(const Decimal&, const Decimal&) = default;
};

/// A UUID; sent in upper case.
struct ZARN_API Uuid {
  std::array<std::uint8_t, 16> bytes{};

  /// Reads the form 8-4-4-4-12 in either case; nothing else.
  static std::optional<Uuid> parse(std::string_view text);
  /// "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX", upper case.
  std::string text() const;

  friend bool operator==(const Uuid&, const Uuid&) = default;
};

/// A map from text to values that keeps the order of insertion. A repeated key keeps its first
/// place and takes the last value. Finding and adding take constant time, erasing linear time.
class ZARN_API Properties {
 public:
  struct Entry;
  using const_iterator = const Entry*;

  Properties() noexcept;
  Properties(std::initializer_list<Entry> entries);
  Properties(const Properties&);
  Properties(Properties&&) noexcept;
  Properties& operator=(const Properties&);
  Properties& operator=(Properties&&) noexcept;
  ~Properties();

  void set(std::string_view key, Value value);
  /// Null when there is no such key. Valid until the next change.
  const Value* find(std::string_view key) const;
  /// Whether there was such a key.
  bool erase(std::string_view key);
  void reserve(std::size_t count);

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  const_iterator begin() const;
  const_iterator end() const;

  /// The same keys with the same values, in whatever order.
  friend ZARN_API bool operator==(const Properties&, const Properties&);

 private:
  class Index;
  std::size_t positionOf(std::string_view key) const;

  std::vector<Entry> entries_;
  std::unique_ptr<Index> index_;  // only once there are many keys
};

namespace detail {
// vector<bool> gives out such a reference in place of a bool.
template <typename T>
concept Boolean = std::same_as<T, bool> || std::same_as<T, std::vector<bool>::reference>;
template <typename T>
concept Character = std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;
template <typename T>
concept Integer =
    std::integral<T> && !Boolean<T> && !Character<T> && sizeof(T) <= sizeof(std::int64_t);
template <typename T>
concept Stored = std::same_as<T, std::string> || std::same_as<T, Date> || std::same_as<T, Url> ||
    std::same_as<T, Uuid> || std::same_as<T, Decimal> || std::same_as<T, Array> ||
    std::same_as<T, Properties>;
template <typename T>
concept Text = std::convertible_to<const T&, std::string_view> ||
    (std::is_class_v<T>&& std::convertible_to<const T&, std::string>);
// A class that turns into a bool or number by itself would be described by std::to_string as such.
template <typename T>
concept Describable = (std::is_enum_v<T> ||
                       (std::is_class_v<T> && !std::convertible_to<const T&, bool>)) &&
                      requires(const T& value) {
  { to_string(value) } -> std::convertible_to<std::string>;
};
template <typename T>
concept Simple = std::same_as<T, std::nullptr_t> || Boolean<T> || Integer<T> ||
    std::floating_point<T> || Stored<T> || Text<T> || Describable<T>;
template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = std::same_as<T, Value> || Simple<T>;
/// What a Value can be made of.
template <typename T>
concept ValueSource = !std::same_as<T, Value> && (isOptional<T> || Simple<T>);
}  // namespace detail

/// One value: null, bool, 64-bit integer, double, text, Date, Url, Uuid, Decimal, Array or
/// Properties. It is made from any of these, from an optional of them (null when empty), and from
/// any type for which `to_string` is found beside it. Text need not be valid UTF-8: what is not is
/// replaced when it is sent. A null `const char*` is null; other pointers and single characters are
/// no values, and neither is a list in braces: spell nested values Array{...} and Properties{...}.
/// A double that is not finite is sent as null. Integers above the signed 64-bit range become their
/// decimal text. An Array or Properties around 64 levels of others becomes "[nested too deeply]".
class ZARN_API Value {
 public:
  Value() noexcept;
  template <detail::ValueSource T>
  Value(T value) {  // NOLINT: values convert, that is what they are for
    if constexpr (std::same_as<T, std::nullptr_t>) {
      static_cast<void>(value);
    } else if constexpr (detail::isOptional<T>) {
      if (value) *this = Value(*std::move(value));
    } else if constexpr (detail::Boolean<T>) {
      setBool(value);
    } else if constexpr (std::unsigned_integral<T>) {
      setUnsigned(value);
    } else if constexpr (std::integral<T>) {
      setInt(value);
    } else if constexpr (std::floating_point<T>) {
      setDouble(static_cast<double>(value));
    } else if constexpr (detail::Stored<T>) {
      store(std::move(value));
    } else if constexpr (std::is_pointer_v<T>) {
      if (value != nullptr) store(std::string(std::string_view(value)));
    } else if constexpr (std::convertible_to<const T&, std::string_view>) {
      store(std::string(static_cast<std::string_view>(value)));
    } else if constexpr (detail::Text<T>) {
      store(static_cast<std::string>(value));
    } else if constexpr (detail::Describable<T>) {
      store(static_cast<std::string>(to_string(value)));
    }
  }
  Value(const Value&);
  Value(Value&&) noexcept;
  Value& operator=(const Value&);
  Value& operator=(Value&&) noexcept;
  ~Value();

  bool isNull() const;
  /// Each gives nothing when the value is of another kind; none converts.
  std::optional<bool> asBool() const;
  std::optional<std::int64_t> asInt() const;
  std::optional<double> asDouble() const;
  std::optional<std::string_view> asString() const;
  const Date* asDate() const;
  const Url* asUrl() const;
  const Uuid* asUuid() const;
  const Decimal* asDecimal() const;
  const Array* asArray() const;
  const Properties* asProperties() const;

  friend ZARN_API bool operator==(const Value&, const Value&);

 private:
  friend base::ValueAccess;
  /// Text that the library made itself: an identifier, a digest, a fixed word.
  struct Opaque {
    std::string text;
    friend bool operator==(const Opaque&, const Opaque&) = default;
  };
  using Data = std::variant<std::monostate, bool, std::int64_t, double, std::string, Date, Url,
                            Uuid, Decimal, Opaque, Array, Properties>;

  void setBool(bool value);
  void setInt(std::int64_t value);
  void setUnsigned(std::uint64_t value);
  void setDouble(double value);
  void store(std::string value);
  void store(Date value);
  void store(Url value);
  void store(Uuid value);
  void store(Decimal value);
  void store(Array value);
  void store(Properties value);

  Data data_;
  /// Levels of arrays and maps, this one included. Bounded, so that copying, encoding and
  /// destroying a value never takes more stack than a thread has.
  std::uint8_t depth_ = 0;
};

struct Properties::Entry {
  std::string key;
  Value value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

ZARN_NAMESPACE_END
