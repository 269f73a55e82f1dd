// UTF-8 text: validity, user-perceived characters, trimming, lower case.
//
// A "character" is what a reader sees as one: an extended grapheme cluster, such as a letter with
// its accents, an emoji family or a CR LF pair. Limits that people read count these, not bytes.
//
//   std::string_view shown = base::prefixOfCharacters(name, 80);
//
// Pure functions; any thread. All are linear in the bytes they look at and need no deep stack.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zarn::base {

bool isValidUtf8(std::string_view text);

/// Every maximal ill-formed part becomes one U+FFFD; valid text comes back as it is.
std::string replaceInvalidUtf8(std::string_view text);

/// The code point at `at` and its length in bytes; length 0 where the bytes are not valid UTF-8 (or
/// `at` is the end).
struct CodePoint {
  char32_t value = 0;
  std::size_t length = 0;
};
CodePoint codePointAt(std::string_view text, std::size_t at);
void appendCodePoint(std::string& text, char32_t value);

/// Number of characters, counting no further than `bound`. A byte that is not valid UTF-8 counts as
/// one.
std::size_t countCharacters(std::string_view text, std::size_t bound);

/// The first `count` characters, or all of a shorter text.
std::string_view prefixOfCharacters(std::string_view text, std::size_t count);

/// At most the first `count` bytes, cut between code points. Bounds what the other functions read:
/// a character may be any number of bytes long.
std::string_view prefixOfBytes(std::string_view text, std::size_t count);

/// Without the Unicode spaces, tabs and line ends on both sides.
std::string_view trimmed(std::string_view text);

/// Lower case of one Latin, Greek, Cyrillic or Armenian letter; anything else is returned as it is.
/// Independent of the locale.
char32_t lowerCase(char32_t letter);
std::string lowerCase(std::string_view text);
std::string lowerCaseAscii(std::string_view text);

}  // namespace zarn::base
