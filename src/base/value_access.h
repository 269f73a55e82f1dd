// ValueAccess: what the library may do with a Value and a host may not.
//
//   properties.set("visit_id", ValueAccess::opaque(visitId));
//   ValueAccess::visit(value, Overloaded{[&](const std::string& text) { ... },
//                                        [&](const auto&) { ... }});
#pragma once

#include <string>
#include <utility>
#include <variant>

#include "zarn/value.h"

namespace zarn::base {

struct ValueAccess {
  using Null = std::monostate;
  /// Text that the library made itself and the property scrubber leaves alone.
  using Opaque = Value::Opaque;
  /// Levels of arrays and maps that a Value may hold.
  static constexpr int kMaxDepth = 64;
  /// What stands in place of deeper ones.
  static constexpr std::string_view kTooDeep = "[nested too deeply]";

  /// Sent as text. `asString` of such a value gives nothing.
  static Value opaque(std::string text) {
    Value value;
    value.data_.emplace<Opaque>(Opaque{std::move(text)});
    return value;
  }
  /// Null when the value is of another kind.
  static const std::string* opaqueText(const Value& value) {
    const auto* opaque = std::get_if<Opaque>(&value.data_);
    return opaque ? &opaque->text : nullptr;
  }

  /// Calls `visitor` with Null, bool, std::int64_t, double, std::string, Date, Url, Uuid, Decimal,
  /// Opaque, Array or Properties.
  template <typename Visitor>
  static decltype(auto) visit(const Value& value, Visitor&& visitor) {
    return std::visit(std::forward<Visitor>(visitor), value.data_);
  }
};

/// One visitor of several lambdas.
template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace zarn::base
