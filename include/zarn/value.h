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

ZARN_NAMESPACE_BEGIN

class Value;
class Properties;
struct ValueAccess;

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
/// text is no number.
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

namespace detail {
template <typename T>
concept Character = std::same_as<T, char> || std::same_as<T, signed char> ||
    std::same_as<T, unsigned char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;
template <typename T>
concept Integer = std::integral<T> && !std::same_as<T, bool> &&
                  (!Character<T> || std::same_as<T, signed char> || std::same_as<T, unsigned char>);
template <typename T>
concept Text = std::convertible_to<const T&, std::string_view> ||
    (std::is_class_v<T>&& std::convertible_to<const T&, std::string>);
template <typename T>
concept HasText = std::is_class_v<T> || std::is_enum_v<T>;
template <typename T>
concept Describable = HasText<T> && !Text<T> && requires(const T& value) {
  { to_string(value) } -> std::convertible_to<std::string>;
};
template <typename T>
concept Kept = std::same_as<T, Date> || std::same_as<T, Url> || std::same_as<T, Uuid> ||
    std::same_as<T, Decimal> || std::same_as<T, Array> || std::same_as<T, Properties>;
template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;
/// What a Value can be made of.
template <typename T>
concept ValueSource = std::same_as<T, std::nullptr_t> || std::same_as<T, bool> || Integer<T> ||
    std::floating_point<T> || Text<T> || Describable<T> || Kept<T> || isOptional<T>;
}  // namespace detail

/// One value: null, bool, 64-bit integer, double, text, Date, Url, Uuid, Decimal, Array or
/// Properties. It is made from any of these, from an optional of them (null when empty), and from
/// any type for which `to_string` is found beside it. Text need not be valid UTF-8: what is not is
/// replaced when it is sent. A pointer is no value, and neither is a list in braces: spell nested
/// values Array{...} and Properties{...}. Integers above the signed 64-bit range become their
/// decimal text. Values nested more than 64 levels deep are replaced by the text "[nested too
/// deeply]".
class ZARN_API Value {
 public:
  Value() noexcept;
  template <typename T>
  requires detail::ValueSource<std::remove_cvref_t<std::decay_t<T>>> &&
      (!std::same_as<std::remove_cvref_t<T>, Value>)Value(T&& value)
      : Value() {  // NOLINT: values convert, that is what they are for
    assign(std::forward<T>(value));
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
  friend struct ValueAccess;
  /// Text that the library made itself: an identifier, a digest, a fixed word.
  struct Opaque {
    std::string text;
    bool operator==(const Opaque&) const = default;
  };
  using Data =
      std::variant<std::monostate, bool, std::int64_t, double, std::string, Date, Url, Uuid,
                   Decimal, Opaque, std::unique_ptr<Array>, std::unique_ptr<Properties>>;

  template <typename T>
  void assign(T&& value) {
    using D = std::remove_cvref_t<std::decay_t<T>>;
    if constexpr (std::same_as<D, std::nullptr_t>) {
    } else if constexpr (std::same_as<D, bool>) {
      setBool(value);
    } else if constexpr (detail::Integer<D>) {
      if constexpr (std::is_unsigned_v<D> && sizeof(D) >= sizeof(std::int64_t)) {
        setUnsigned(value);
      } else {
        setInt(value);
      }
    } else if constexpr (std::floating_point<D>) {
      setDouble(static_cast<double>(value));
    } else if constexpr (detail::isOptional<D>) {
      if (value) assign(*std::forward<T>(value));
    } else if constexpr (detail::Kept<D>) {
      setKept(D(std::forward<T>(value)));
    } else if constexpr (std::is_pointer_v<D>) {
      if (value != nullptr) setText(std::string(std::string_view(value)));
    } else if constexpr (std::convertible_to<const D&, std::string_view>) {
      setText(std::string(std::string_view(value)));
    } else if constexpr (detail::Text<D>) {
      setText(value);
    } else {
      setText(to_string(value));
    }
  }
  void setBool(bool value);
  void setInt(std::int64_t value);
  void setUnsigned(std::uint64_t value);
  void setDouble(double value);
  void setText(std::string value);
  void setKept(Date value);
  void setKept(Url value);
  void setKept(Uuid value);
  void setKept(Decimal value);
  void setKept(Array value);
  void setKept(Properties value);

  Data data_;
};

/// A map from text to values that keeps the order of insertion. A repeated key keeps its first
/// place and takes the last value.
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

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  const_iterator begin() const;
  const_iterator end() const;

  friend ZARN_API bool operator==(const Properties&, const Properties&);

 private:
  friend struct ValueAccess;
  struct Storage;
  std::unique_ptr<Storage> storage_;
};

struct Properties::Entry {
  std::string key;
  Value value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

ZARN_NAMESPACE_END
