#include "redaction/pattern_prefilter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace zarn::redaction {
namespace {

enum ByteKind : std::uint8_t {
  kDigit = 1,
  kNumberMark = 2,  // may stand between the digits of a phone number
  kAlphanumeric = 4,
  kTokenByte = 8,
  kAtSign = 16,
  kLetterJ = 32,
};

constexpr std::array<std::uint8_t, 128> kByteKinds = [] {
  std::array<std::uint8_t, 128> kinds{};
  const auto mark = [&](std::string_view bytes, unsigned kind) {
    for (const char byte : bytes) {
      auto& entry = kinds[static_cast<unsigned char>(byte)];
      entry = static_cast<std::uint8_t>(entry | kind);
    }
  };
  mark("0123456789", kDigit | kAlphanumeric | kTokenByte);
  mark("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ", kAlphanumeric | kTokenByte);
  mark("+/_-", kTokenByte);
  mark(" \t\n\v\f\r().-", kNumberMark);
  mark("@", kAtSign);
  mark("jJ", kLetterJ);
  return kinds;
}();

/// Counts what the rows need most of. Lengths are in bytes, never fewer than the characters.
class Facts {
 public:
  void ascii(std::string_view text, std::size_t at, unsigned char byte) {
    const unsigned kind = kByteKinds[byte];
    token((kind & kTokenByte) != 0);
    alphanumerics_ = (kind & kAlphanumeric) != 0 ? alphanumerics_ + 1 : 0;
    mostAlphanumerics_ = std::max(mostAlphanumerics_, alphanumerics_);
    if ((kind & kDigit) != 0) {
      digit(at);
    } else if ((kind & kNumberMark) == 0) {
      digits_ = 0;
      if ((kind & (kAtSign | kLetterJ)) == 0) return;
      if ((kind & kAtSign) != 0) atSign_ = true;
      if ((kind & kLetterJ) != 0 && at >= 2 && (text[at - 1] | 0x20) == 'y' &&
          (text[at - 2] | 0x20) == 'e') {
        ++webTokenParts_;
      }
    }
  }

  /// The first byte of a code point past ASCII: a digit or space of another script, or one of the
  /// two signs that equal a letter without regard to case (long s and the Kelvin sign).
  void other(std::size_t at, unsigned char lead) {
    const bool mayBeLetter = lead == 0xC5 || lead == 0xE2;
    token(mayBeLetter);
    if (mayBeLetter) mostAlphanumerics_ = std::max(mostAlphanumerics_, ++alphanumerics_);
    digit(at);
  }

  unsigned rows() const {
    unsigned rows = 0;
    if (atSign_) rows |= 1U << 0 | 1U << 6;
    if (longestNumber_ >= 10) rows |= 1U << 1;
    if (mostDigits_ >= 13) rows |= 1U << 2;
    if (mostDigits_ >= 9 && longestNumber_ >= 11) rows |= 1U << 3;
    // At least thirteen of the fifteen are letters or digits as ASCII knows them.
    if (mostDigits_ > 0 && mostAlphanumerics_ >= 13) rows |= 1U << 4;
    if (webTokenParts_ >= 2) rows |= 1U << 5;
    if (longestToken_ >= 32) rows |= 1U << 7;
    return rows;
  }

 private:
  void token(bool goesOn) {
    token_ = goesOn ? token_ + 1 : 0;
    longestToken_ = std::max(longestToken_, token_);
  }

  void digit(std::size_t at) {
    if (digits_ == 0) numberBegin_ = at;
    mostDigits_ = std::max(mostDigits_, ++digits_);
    longestNumber_ = std::max(longestNumber_, at - numberBegin_ + 1);
  }

  std::size_t token_ = 0;
  std::size_t longestToken_ = 0;
  std::size_t alphanumerics_ = 0;
  std::size_t mostAlphanumerics_ = 0;
  std::size_t digits_ = 0;  // of the current number: digits with marks between them
  std::size_t mostDigits_ = 0;
  std::size_t numberBegin_ = 0;
  std::size_t longestNumber_ = 0;
  unsigned webTokenParts_ = 0;
  bool atSign_ = false;
};

}  // namespace

unsigned rowsThatMayMatch(std::string_view text) {
  Facts facts;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x80) {
      facts.ascii(text, at, byte);
    } else if (byte >= 0xC0) {
      facts.other(at, byte);
    }
  }
  return facts.rows();
}

}  // namespace zarn::redaction
