#include "base/letters.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "base/text.h"

namespace zarn::base {
namespace {

bool isAsciiNumber(char byte) {
  return byte >= '0' && byte <= '9';
}

bool isAsciiLetterOrNumber(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || isAsciiNumber(byte);
}

/// Null when there is no memory for it.
const pcre2_code* compiled(const char* expression) {
  int error = 0;
  PCRE2_SIZE where = 0;
  return pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression), PCRE2_ZERO_TERMINATED,
                       PCRE2_UTF | PCRE2_ANCHORED, &error, &where, nullptr);
}

bool matches(const pcre2_code* expression, std::string_view text) {
  pcre2_match_data* const match = expression ? pcre2_match_data_create(1, nullptr) : nullptr;
  if (!match) return false;
  const int found = pcre2_match(expression, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(),
                                0, PCRE2_NO_UTF_CHECK, match, nullptr);
  pcre2_match_data_free(match);
  return found > 0;
}

}  // namespace

// The expressions are made once and never freed.

bool isLetterOrNumber(std::string_view character) {
  const CodePoint first = codePointAt(character, 0);
  if (first.length == 0) return false;
  if (first.length == 1) return isAsciiLetterOrNumber(character[0]);
  static const pcre2_code* const letterOrNumber = compiled("^[\\p{L}\\p{N}]");
  return matches(letterOrNumber, character.substr(0, first.length));
}

bool isNumber(std::string_view character) {
  const CodePoint first = codePointAt(character, 0);
  if (first.length == 0) return false;
  if (first.length == 1) return isAsciiNumber(character[0]);
  static const pcre2_code* const number = compiled("^\\p{N}");
  return matches(number, character.substr(0, first.length));
}

}  // namespace zarn::base
