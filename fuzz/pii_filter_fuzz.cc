// The filter for personal data: whatever the bytes, its result is valid UTF-8, its expressions find
// what they would find without guards and prefilter, and no address survives.
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/text.h"
#include "desktop/name_tagger.h"
#include "redaction/pii_filter.h"
#include "redaction/pii_pattern.h"

namespace {

using namespace zarn;
using redaction::PiiPattern;

void require(bool condition) {
  if (!condition) std::abort();
}

struct BareExpressions {
  BareExpressions() {
    for (std::size_t row = 0; row < redaction::kPatternCount; ++row) {
      patterns[row] = new PiiPattern(redaction::kPatternRows[row], {.guarded = false});
    }
  }
  const PiiPattern* patterns[redaction::kPatternCount];
};

/// The definition: every row in turn over the whole text, nothing skipped.
redaction::Scrubbed plainlyFiltered(const BareExpressions& bare, std::string_view text) {
  redaction::Scrubbed result{base::replaceInvalidUtf8(text), false};
  for (const PiiPattern* pattern : bare.patterns) {
    if (redaction::redactMatches(*pattern, result.text)) result.changed = true;
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const desktop::DictionaryNameTagger tagger;
  static const redaction::PiiFilter filter(tagger);
  static const BareExpressions bare;
  // The bare expressions take quadratic time.
  if (size > 4096) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const redaction::Scrubbed patterns = filter.scrubPatterns(text);
  const redaction::Scrubbed plain = plainlyFiltered(bare, text);
  require(patterns.text == plain.text && patterns.changed == plain.changed);
  require(patterns.changed || patterns.text == base::replaceInvalidUtf8(text));

  for (redaction::Scrubbed result : {patterns, filter.scrub(text), filter.scrubRecognised(text)}) {
    require(base::isValidUtf8(result.text));
    require(!redaction::redactMatches(*bare.patterns[0], result.text));
  }
  require(base::isValidUtf8(filter.scrubBounded(text).text));
  return 0;
}
