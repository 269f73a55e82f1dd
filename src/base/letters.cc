#include "base/letters.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "base/text.h"

namespace zarn::base {
namespace {

bool isAsciiLetterOrNumber(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9');
}

/// Null when there is no memory for it. Made once and never freed.
const pcre2_code* letterOrNumber() {
  static const pcre2_code* const compiled = [] {
    int error = 0;
    PCRE2_SIZE where = 0;
    return pcre2_compile(reinterpret_cast<PCRE2_SPTR>("^[\\p{L}\\p{N}]"), PCRE2_ZERO_TERMINATED,
                         PCRE2_UTF | PCRE2_ANCHORED, &error, &where, nullptr);
  }();
  return compiled;
}

}  // namespace

bool isLetterOrNumber(std::string_view character) {
  const CodePoint first = codePointAt(character, 0);
  if (first.length == 0) return false;
  if (first.length == 1) return isAsciiLetterOrNumber(character[0]);
  const pcre2_code* const pattern = letterOrNumber();
  pcre2_match_data* const match = pattern ? pcre2_match_data_create(1, nullptr) : nullptr;
  if (!match) return false;
  const int found = pcre2_match(pattern, reinterpret_cast<PCRE2_SPTR>(character.data()),
                                first.length, 0, PCRE2_NO_UTF_CHECK, match, nullptr);
  pcre2_match_data_free(match);
  return found > 0;
}

}  // namespace zarn::base
