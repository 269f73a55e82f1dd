// Takes personal data out of free text before it is stored or sent.
//
//   PiiFilter filter(nameTagger);
//   auto [text, changed] = filter.scrub("write to anna@example.org");   // "write to [redacted]"
//
// Names become "[name]", what an expression finds becomes "[redacted]". It fails closed: where a
// search can't tell, the text from there on is redacted. The result is always valid UTF-8; bytes
// that were not come back as U+FFFD and were filtered in that form.
#pragma once

#include <string>
#include <string_view>

namespace zarn::platform {
class NameTagger;
}

namespace zarn::redaction {

class PiiPattern;

struct Scrubbed {
  std::string text;
  bool changed = false;  // something was redacted; repaired UTF-8 alone does not count
};

/// Any thread, several at once. Linear in the text.
class PiiFilter {
 public:
  /// scrubBounded looks at so many characters; names are sought in texts of at least the other
  /// many.
  static constexpr std::size_t kBoundedCharacters = 256;
  static constexpr std::size_t kLeastCharactersForNames = 4;

  explicit PiiFilter(const platform::NameTagger& nameTagger) : nameTagger_(nameTagger) {}

  /// Names, then expressions, over the whole text.
  Scrubbed scrub(std::string_view text) const;

  /// Expressions alone.
  Scrubbed scrubPatterns(std::string_view text) const;

  /// As `scrub`, for the first 256 characters of the text; the rest follows as it is. For callers
  /// whose time is bounded.
  Scrubbed scrubBounded(std::string_view text) const;

  /// Expressions, then names: the order for text recognised in pixels, where line breaks scatter
  /// names.
  Scrubbed scrubRecognised(std::string_view text) const;

  /// Compiles the expressions, which the first text that needs one does otherwise (about a
  /// millisecond).
  static void prepare();

 private:
  void redactNames(Scrubbed& scrubbed) const;
  static void redactPatterns(Scrubbed& scrubbed);

  const platform::NameTagger& nameTagger_;
};

/// One expression over the whole text: every match becomes "[redacted]", save card numbers that
/// fail their check. True if anything was replaced.
bool redactMatches(const PiiPattern& pattern, std::string& text);

}  // namespace zarn::redaction
