// The expressions that personal data in text is found by.
//
// Each row is matched in linear time: where its expression fails at a place, a guard skips the run
// of text in which it would fail the same way again. The matches are exactly those of the bare
// expression.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

struct pcre2_real_code_8;
struct pcre2_real_match_context_8;
struct pcre2_real_match_data_8;

namespace zarn::redaction {

struct PatternRow {
  const char*
      expression;         // matched without regard to case, with Unicode's digits, spaces and words
  const char* futileRun;  // what to skip where the expression has failed; null: nothing
  bool requiresLuhn;
};

inline constexpr std::size_t kPatternCount = 8;

/// In the order in which they are applied: e-mail, phone, card, national id, IBAN, JSON web token,
/// handle, long token.
extern const std::array<PatternRow, kPatternCount> kPatternRows;

/// Scratch memory of a search; one for a thread's consecutive searches.
class PatternScratch {
 public:
  PatternScratch();
  ~PatternScratch();
  PatternScratch(const PatternScratch&) = delete;
  PatternScratch& operator=(const PatternScratch&) = delete;

 private:
  friend class PiiPattern;
  pcre2_real_match_data_8* data_;
};

/// One row, compiled. Immutable; any thread.
class PiiPattern {
 public:
  enum class Outcome { match, noMatch, unclear };
  struct Match {
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  struct Options {
    bool guarded = true;   // false: the bare expression
    bool compiled = true;  // to machine code, where the system lets us
    /// Steps that a search may take from one start; far above what any row needs in 64 KB.
    std::uint32_t stepLimit = 5'000'000;
  };

  explicit PiiPattern(const PatternRow& row);
  PiiPattern(const PatternRow& row, Options options);
  ~PiiPattern();
  PiiPattern(const PiiPattern&) = delete;
  PiiPattern& operator=(const PiiPattern&) = delete;

  bool requiresLuhn() const { return requiresLuhn_; }

  /// The first match that starts at `from` or later. `text` must be valid UTF-8 and `from` the
  /// start of a code point. Anything that stops the search, lack of memory included, is `unclear`.
  Outcome find(std::string_view text, std::size_t from, PatternScratch& scratch,
               Match& match) const;

 private:
  const bool requiresLuhn_;
  pcre2_real_code_8* code_ = nullptr;
  pcre2_real_match_context_8* context_ = nullptr;
};

}  // namespace zarn::redaction
