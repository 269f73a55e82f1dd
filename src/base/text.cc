#include "base/text.h"

#include <cstdint>
#include <cstring>

namespace zarn::base {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

/// Bytes from `at` on that are ASCII, found eight at a time.
std::size_t asciiRun(std::string_view text, std::size_t at) {
  const std::size_t begin = at;
  for (std::uint64_t word = 0; at + sizeof word <= text.size(); at += sizeof word) {
    std::memcpy(&word, text.data() + at, sizeof word);
    if ((word & 0x8080808080808080) != 0) break;
  }
  while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) ++at;
  return at - begin;
}

struct Decoded {
  char32_t value;
  std::size_t length;  // of the code point, or of the maximal ill-formed part
  bool valid;
};

/// `at` must be inside the text.
Decoded decode(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead < 0xC2 || lead > 0xF4) return {0, 1, false};
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  // The second byte's range is what keeps out overlong forms, surrogates and values past U+10FFFF.
  const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  char32_t value = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (at + i >= text.size()) return {0, i, false};
    const unsigned char next = byte(i);
    if (next < (i == 1 ? lowest : 0x80) || next > (i == 1 ? highest : 0xBF)) return {0, i, false};
    value = (value << 6) | (next & 0x3FU);
  }
  return {value, length, true};
}

bool isSpace(char32_t value) {
  if (value <= 0x20) return value == 0x20 || (value >= 0x09 && value <= 0x0D);
  if (value < 0x2000) return value == 0x85 || value == 0xA0 || value == 0x1680;
  return value <= 0x200A || value == 0x2028 || value == 0x2029 || value == 0x202F ||
         value == 0x205F || value == 0x3000;
}

constexpr bool within(char32_t value, char32_t first, char32_t last) {
  return value >= first && value <= last;
}

/// Blocks in which each capital stands right before its small letter.
constexpr bool isPairedCapital(char32_t value) {
  const bool even = value % 2 == 0;
  if (value < 0x250) {
    if (even) {
      return within(value, 0x100, 0x12E) || within(value, 0x132, 0x136) ||
             within(value, 0x14A, 0x176) || within(value, 0x1A0, 0x1A4) ||
             within(value, 0x1DE, 0x1EE) || within(value, 0x1F8, 0x21E) ||
             within(value, 0x222, 0x232) || within(value, 0x246, 0x24E);
    }
    return within(value, 0x139, 0x147) || within(value, 0x179, 0x17D) || value == 0x1AF ||
           within(value, 0x1CD, 0x1DB);
  }
  if (even) {
    return within(value, 0x460, 0x480) || within(value, 0x48A, 0x4BE) ||
           within(value, 0x4D0, 0x52E) || within(value, 0x1E00, 0x1E94) ||
           within(value, 0x1EA0, 0x1EFE);
  }
  return within(value, 0x4C1, 0x4CD);
}

char32_t lowerCaseGreek(char32_t letter) {
  if (within(letter, 0x391, 0x3AB) && letter != 0x3A2) return letter + 0x20;
  switch (letter) {
    case 0x386:
      return 0x3AC;
    case 0x388:
    case 0x389:
    case 0x38A:
      return letter + 0x25;
    case 0x38C:
      return 0x3CC;
    case 0x38E:
    case 0x38F:
      return letter + 0x3F;
    default:
      return letter;
  }
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  for (std::size_t at = asciiRun(text, 0); at < text.size();) {
    const Decoded next = decode(text, at);
    if (!next.valid) return false;
    at += next.length;
    if (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) at += asciiRun(text, at);
  }
  return true;
}

std::string replaceInvalidUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  std::size_t copied = 0;
  for (std::size_t at = asciiRun(text, 0); at < text.size();) {
    const Decoded next = decode(text, at);
    if (!next.valid) {
      valid.append(text, copied, at - copied).append(kReplacementCharacter);
      copied = at + next.length;
    }
    at += next.length;
    at += asciiRun(text, at);
  }
  return valid.append(text, copied, text.size() - copied);
}

CodePoint codePointAt(std::string_view text, std::size_t at) {
  if (at >= text.size()) return {};
  const Decoded next = decode(text, at);
  return next.valid ? CodePoint{next.value, next.length} : CodePoint{};
}

void appendCodePoint(std::string& text, char32_t value) {
  const auto add = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (value < 0x80) return add(value);
  if (value < 0x800) {
    add(0xC0 | (value >> 6));
  } else {
    if (value < 0x10000) {
      add(0xE0 | (value >> 12));
    } else {
      add(0xF0 | (value >> 18));
      add(0x80 | ((value >> 12) & 0x3F));
    }
    add(0x80 | ((value >> 6) & 0x3F));
  }
  add(0x80 | (value & 0x3F));
}

std::string_view prefixOfBytes(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  const auto isInsideCodePoint = [&](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  std::size_t end = count;
  while (end > 0 && count - end < 3 && isInsideCodePoint(end)) --end;
  return text.substr(0, end);
}

std::string_view trimmed(std::string_view text) {
  for (CodePoint first = codePointAt(text, 0); first.length != 0 && isSpace(first.value);
       first = codePointAt(text, 0)) {
    text.remove_prefix(first.length);
  }
  while (!text.empty()) {
    std::size_t start = text.size() - 1;
    while (start > 0 && text.size() - start < 4 &&
           (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) {
      --start;
    }
    const CodePoint last = codePointAt(text, start);
    if (start + last.length != text.size() || !isSpace(last.value)) break;
    text.remove_suffix(last.length);
  }
  return text;
}

char32_t lowerCase(char32_t letter) {
  if (letter < 0x80) return within(letter, 'A', 'Z') ? letter + 0x20 : letter;
  if (within(letter, 0xC0, 0xDE)) return letter == 0xD7 ? letter : letter + 0x20;
  if (isPairedCapital(letter)) return letter + 1;
  if (within(letter, 0x386, 0x3AB)) return lowerCaseGreek(letter);
  if (within(letter, 0x400, 0x40F)) return letter + 0x50;
  if (within(letter, 0x410, 0x42F)) return letter + 0x20;
  if (within(letter, 0x531, 0x556)) return letter + 0x30;
  if (within(letter, 0xFF21, 0xFF3A)) return letter + 0x20;
  switch (letter) {
    case 0x130:
      return 'i';
    case 0x178:
      return 0xFF;
    case 0x18F:
      return 0x259;
    case 0x4C0:
      return 0x4CF;
    case 0x1E9E:
      return 0xDF;
    default:
      return letter;
  }
}

std::string lowerCase(std::string_view text) {
  std::string lower;
  lower.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint next = codePointAt(text, at);
    if (next.length == 0) {
      lower.push_back(text[at++]);
      continue;
    }
    appendCodePoint(lower, lowerCase(next.value));
    at += next.length;
  }
  return lower;
}

std::string lowerCaseAscii(std::string_view text) {
  std::string lower(text);
  for (char& byte : lower) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 0x20);
  }
  return lower;
}

}  // namespace zarn::base
