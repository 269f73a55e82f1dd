#include "redaction/pii_pattern.h"

#include <string>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

namespace zarn::redaction {

// Why the guards lose no match: an address that does not begin at the start of a run of local-part
// characters does not begin inside it either, as what follows the run is the same; and likewise for
// a phone number after a run's first digit, a web token after a run's first "eyJ" at a word's
// start, and a long token after a run's first word boundary. The other rows are bounded in length.
const std::array<PatternRow, kPatternCount> kPatternRows = {{
    {R"([A-Z0-9._%+-]+@[A-Z0-9.-]+\.[A-Z]{2,})", R"([A-Z0-9._%+-]++)", false},
    {R"(\+?\d[\d\s().-]{8,}\d)", R"(\d[\d\s().-]*+)", false},
    {R"(\b(?:\d[ -]?){12,18}\d\b)", nullptr, true},
    {R"(\b\d{3}[- ]\d{2}[- ]\d{4}\b)", nullptr, false},
    {R"(\b[A-Z]{2}\d{2}[A-Z0-9]{11,30}\b)", nullptr, false},
    {R"(\beyJ[A-Za-z0-9_-]+\.eyJ[A-Za-z0-9_-]+\.[A-Za-z0-9_-]+\b)", R"(\beyJ[A-Za-z0-9_-]*+)",
     false},
    {R"(@[A-Za-z0-9_.]{3,30})", nullptr, false},
    {R"(\b[A-Za-z0-9+/_-]{32,}\b)", R"(\b[A-Za-z0-9+/_-]++)", false},
}};

PatternScratch::PatternScratch() : data_(pcre2_match_data_create(1, nullptr)) {}

PatternScratch::~PatternScratch() {
  pcre2_match_data_free(data_);
}

PiiPattern::PiiPattern(const PatternRow& row) : PiiPattern(row, Options()) {}

PiiPattern::PiiPattern(const PatternRow& row, Options options) : requiresLuhn_(row.requiresLuhn) {
  std::string expression = row.expression;
  if (options.guarded && row.futileRun != nullptr) {
    expression = "(?:" + expression + ")|" + row.futileRun + "(*SKIP)(*FAIL)";
  }
  int error = 0;
  PCRE2_SIZE errorOffset = 0;
  code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(),
                        PCRE2_CASELESS | PCRE2_UTF | PCRE2_UCP, &error, &errorOffset, nullptr);
  if (code_ == nullptr) return;
  // Where machine code can't be made or run, the same call interprets.
  if (options.compiled) pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
  context_ = pcre2_match_context_create(nullptr);
  if (context_ != nullptr) pcre2_set_match_limit(context_, options.stepLimit);
}

PiiPattern::~PiiPattern() {
  pcre2_match_context_free(context_);
  pcre2_code_free(code_);
}

PiiPattern::Outcome PiiPattern::find(std::string_view text, std::size_t from,
                                     PatternScratch& scratch, Match& match) const {
  if (code_ == nullptr || context_ == nullptr || scratch.data_ == nullptr) return Outcome::unclear;
  const int found = pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), from,
                                PCRE2_NO_UTF_CHECK, scratch.data_, context_);
  if (found == PCRE2_ERROR_NOMATCH) return Outcome::noMatch;
  if (found < 0) return Outcome::unclear;
  const PCRE2_SIZE* const bounds = pcre2_get_ovector_pointer(scratch.data_);
  match = {bounds[0], bounds[1]};
  return Outcome::match;
}

}  // namespace zarn::redaction
