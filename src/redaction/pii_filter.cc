#include "redaction/pii_filter.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "base/text.h"
#include "model/redaction_marks.h"
#include "platform/name_tagger.h"
#include "redaction/luhn.h"
#include "redaction/pattern_prefilter.h"
#include "redaction/pii_pattern.h"

namespace zarn::redaction {
namespace {

constexpr std::size_t kLeastCharactersOfName = 2;

using PatternTable = std::array<std::unique_ptr<const PiiPattern>, kPatternCount>;

/// Never destroyed: text is filtered as late as in exit handlers.
const PatternTable& patternTable() {
  static const PatternTable& table = []() -> const PatternTable& {
    auto* made = new PatternTable;
    for (std::size_t row = 0; row < kPatternCount; ++row) {
      (*made)[row] = std::make_unique<const PiiPattern>(kPatternRows[row]);
    }
    return *made;
  }();
  return table;
}

Scrubbed unscrubbed(std::string_view text) {
  if (base::isValidUtf8(text)) return {std::string(text), false};
  return {base::replaceInvalidUtf8(text), false};
}

/// A tagger's range is used only where it is a piece of the text after the last one used.
bool isUsable(const platform::TextRange& range, std::string_view text, std::size_t from) {
  const auto startsCodePoint = [&](std::size_t at) {
    return at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
  };
  if (range.begin < from || range.end <= range.begin || range.end > text.size()) return false;
  if (!startsCodePoint(range.begin) || !startsCodePoint(range.end)) return false;
  const std::string_view name = text.substr(range.begin, range.end - range.begin);
  return base::countCharacters(name, kLeastCharactersOfName) == kLeastCharactersOfName;
}

}  // namespace

bool redactMatches(const PiiPattern& pattern, std::string& text) {
  PatternScratch scratch;
  std::string redacted;
  std::size_t copied = 0;
  std::size_t from = 0;
  const auto replace = [&](std::size_t begin, std::size_t end) {
    redacted.append(text, copied, begin - copied).append(model::kRedactedMark);
    copied = end;
  };
  PiiPattern::Match match;
  for (auto outcome = pattern.find(text, from, scratch, match);
       outcome != PiiPattern::Outcome::noMatch;
       outcome = pattern.find(text, from, scratch, match)) {
    if (outcome == PiiPattern::Outcome::unclear) {
      replace(from, text.size());
      break;
    }
    from = match.end;
    const std::string_view matched(text.data() + match.begin, match.end - match.begin);
    if (!pattern.requiresLuhn() || passesLuhn(matched)) replace(match.begin, match.end);
  }
  if (redacted.empty()) return false;
  redacted.append(text, copied, text.size() - copied);
  text = std::move(redacted);
  return true;
}

void PiiFilter::prepare() {
  patternTable();
}

void PiiFilter::redactNames(Scrubbed& scrubbed) const {
  std::string& text = scrubbed.text;
  if (text.size() < kLeastCharactersForNames ||
      base::countCharacters(text, kLeastCharactersForNames) < kLeastCharactersForNames) {
    return;
  }
  std::vector<platform::TextRange> names;
  nameTagger_.findNames(text, names);
  std::string redacted;
  std::size_t copied = 0;
  for (const platform::TextRange& name : names) {
    if (!isUsable(name, text, copied)) continue;
    redacted.append(text, copied, name.begin - copied).append(model::kNameMark);
    copied = name.end;
  }
  if (redacted.empty()) return;
  redacted.append(text, copied, text.size() - copied);
  text = std::move(redacted);
  scrubbed.changed = true;
}

void PiiFilter::redactPatterns(Scrubbed& scrubbed) {
  unsigned rows = rowsThatMayMatch(scrubbed.text);
  for (std::size_t row = 0; rows >> row != 0; ++row) {
    if ((rows >> row & 1U) == 0) continue;
    if (!redactMatches(*patternTable()[row], scrubbed.text)) continue;
    scrubbed.changed = true;
    rows = rowsThatMayMatch(scrubbed.text);
  }
}

Scrubbed PiiFilter::scrub(std::string_view text) const {
  Scrubbed scrubbed = unscrubbed(text);
  redactNames(scrubbed);
  redactPatterns(scrubbed);
  return scrubbed;
}

Scrubbed PiiFilter::scrubPatterns(std::string_view text) const {
  Scrubbed scrubbed = unscrubbed(text);
  redactPatterns(scrubbed);
  return scrubbed;
}

Scrubbed PiiFilter::scrubRecognised(std::string_view text) const {
  Scrubbed scrubbed = scrubPatterns(text);
  redactNames(scrubbed);
  return scrubbed;
}

Scrubbed PiiFilter::scrubBounded(std::string_view text) const {
  if (text.size() <= kBoundedCharacters) return scrub(text);
  Scrubbed whole = unscrubbed(text);
  const std::string_view head = base::prefixOfCharacters(whole.text, kBoundedCharacters);
  if (head.size() == whole.text.size()) return scrub(whole.text);
  Scrubbed scrubbed = scrub(head);
  if (!scrubbed.changed) return whole;
  scrubbed.text.append(whole.text, head.size(), std::string::npos);
  return scrubbed;
}

}  // namespace zarn::redaction
