// Characters: by hand where two neighbours are known to stand apart, by the expression \X
// elsewhere.
#include <algorithm>
#include <memory>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "base/text.h"

namespace zarn::base {
namespace {

/// \X alone takes any row of emoji for one character, so sequences of them are spelt out: emoji
/// that are joined, each with its variation selectors and skin tones.
constexpr std::string_view kCharacter =
    R"(\p{ExtPict}(?>[\p{Gr_Ext}\p{EMod}]*\x{200D}\p{ExtPict})*+)"
    R"([\p{Gr_Ext}\p{EMod}\p{Mc}\x{200D}]*+|(?!\p{ExtPict})\X)";

/// Compiled once for the process, never destroyed: text is measured as late as in exit handlers.
const pcre2_code* characterExpression() {
  static const pcre2_code* const code = [] {
    int error = 0;
    PCRE2_SIZE errorOffset = 0;
    pcre2_code* compiled =
        pcre2_compile(reinterpret_cast<PCRE2_SPTR>(kCharacter.data()), kCharacter.size(),
                      PCRE2_UTF | PCRE2_ANCHORED, &error, &errorOffset, nullptr);
    if (compiled != nullptr) pcre2_jit_compile(compiled, PCRE2_JIT_COMPLETE);
    return compiled;
  }();
  return code;
}

/// Letters and ideographs that neither join nor extend: between two of them is always a boundary.
bool standsAlone(char32_t value) {
  if (value < 0x300) {
    return (value >= 0x20 && value < 0x7F) ||
           (value >= 0xA0 && value != 0xA9 && value != 0xAD && value != 0xAE);
  }
  return (value >= 0x370 && value <= 0x482) || (value >= 0x48A && value <= 0x52F) ||
         (value >= 0x4E00 && value <= 0x9FFF) || (value >= 0x3041 && value <= 0x3096) ||
         (value >= 0x30A1 && value <= 0x30FA);
}

/// Walks a text character by character.
class CharacterWalker {
 public:
  explicit CharacterWalker(std::string_view text) : text_(text) {}

  std::size_t position() const { return at_; }
  bool atEnd() const { return at_ == text_.size(); }

  void next() {
    const CodePoint first = codePointAt(text_, at_);
    if (first.length == 0) {
      ++at_;
      return;
    }
    const std::size_t after = at_ + first.length;
    if (after == text_.size()) {
      at_ = after;
      return;
    }
    const CodePoint second = codePointAt(text_, after);
    if (first.value < 0x80 && second.length == 1) {
      at_ = after + (first.value == '\r' && second.value == '\n' ? 1 : 0);
    } else if (second.length == 0 || (standsAlone(first.value) && standsAlone(second.value))) {
      at_ = after;
    } else {
      at_ += clusterLength(first.length);
    }
  }

 private:
  /// The expression sees a window that is known to be valid; where the character fills it, the
  /// window doubles, so that neither a huge character nor a huge text costs more than a linear
  /// walk.
  std::size_t clusterLength(std::size_t atLeast) {
    for (std::size_t window = 64;; window *= 2) {
      extendValid(at_ + window);
      const std::size_t length = matchLength(validEnd_ - at_);
      if (length == 0) return atLeast;
      const bool couldGoOn = at_ + length == validEnd_ && validEnd_ >= at_ + window;
      if (!couldGoOn) return length;
    }
  }

  void extendValid(std::size_t target) {
    validEnd_ = std::max(validEnd_, at_);
    while (validEnd_ < target) {
      const CodePoint next = codePointAt(text_, validEnd_);
      if (next.length == 0) break;
      validEnd_ += next.length;
    }
  }

  std::size_t matchLength(std::size_t available) {
    const pcre2_code* const code = characterExpression();
    if (code == nullptr) return 0;
    if (!data_) data_.reset(pcre2_match_data_create(1, nullptr));
    if (!data_) return 0;
    // Starting a new subject at each character keeps \X from looking back over a row of flags.
    const auto* subject = reinterpret_cast<PCRE2_SPTR>(text_.data() + at_);
    const int found =
        pcre2_match(code, subject, available, 0, PCRE2_NO_UTF_CHECK, data_.get(), nullptr);
    return found > 0 ? pcre2_get_ovector_pointer(data_.get())[1] : 0;
  }

  struct FreeMatchData {
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
  };

  const std::string_view text_;
  std::size_t at_ = 0;
  std::size_t validEnd_ = 0;
  std::unique_ptr<pcre2_match_data, FreeMatchData> data_;
};

}  // namespace

std::size_t countCharacters(std::string_view text, std::size_t bound) {
  CharacterWalker walker(text);
  std::size_t count = 0;
  for (; count < bound && !walker.atEnd(); ++count) walker.next();
  return count;
}

std::string_view prefixOfCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  CharacterWalker walker(text);
  for (; count > 0 && !walker.atEnd(); --count) walker.next();
  return text.substr(0, walker.position());
}

}  // namespace zarn::base
