// Generation<Owner>: a counter that a boundary bumps, and the token that a late result carries.
// Tokens of different owners are different types, so that they cannot be compared by mistake.
#pragma once

#include <cstdint>

namespace zarn::base {

/// Not synchronised: it lives beside the state it guards, under that state's lock.
template <typename Owner>
class Generation {
 public:
  class Token {
   public:
    friend bool operator==(Token, Token) = default;

   private:
    friend class Generation;
    explicit Token(std::uint64_t value) : value_(value) {}
    std::uint64_t value_;
  };

  Token current() const { return Token(value_); }
  Token bump() { return Token(++value_); }
  /// What the next bump will give.
  Token next() const { return Token(value_ + 1); }

 private:
  std::uint64_t value_ = 0;
};

}  // namespace zarn::base
