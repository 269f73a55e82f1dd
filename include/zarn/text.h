// Text arguments of the facade.
#pragma once

#include <concepts>
#include <string_view>
#include <type_traits>

#include "zarn/export.h"

ZARN_NAMESPACE_BEGIN

/// Anything that reads as a std::string_view; a null pointer counts as empty. It only refers to the
/// text, for the length of the call.
class Text {
 public:
  template <typename T>
  requires std::convertible_to<const T&, std::string_view> Text(const T& text)
      : view_(read(text)) {}  // NOLINT: callers pass text, not a Text

  operator std::string_view() const { return view_; }  // NOLINT: it is text

 private:
  template <typename T>
  static std::string_view read(const T& text) {
    if constexpr (std::is_pointer_v<T>) {
      if (text == nullptr) return {};
    }
    return std::string_view(text);
  }

  std::string_view view_;
};

ZARN_NAMESPACE_END
