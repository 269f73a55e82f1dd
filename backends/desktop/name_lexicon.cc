#include "desktop/name_lexicon.h"

#include <algorithm>
#include <array>

#include "base/fnv1a.h"
#include "base/text.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kSlots = 1U << 14;  // the lists stay well under two thirds of it
constexpr std::size_t kLongestWord = 47;

constexpr std::string_view kGivenNames =
#include "desktop/names/given_names.inc"
    ;
constexpr std::string_view kAmbiguousNames =
#include "desktop/names/ambiguous_names.inc"
    ;
constexpr std::string_view kSurnames =
#include "desktop/names/surnames.inc"
    ;
constexpr std::string_view kHonorifics =
#define ZARN_HONORIFICS
#include "desktop/names/other_words.inc"
#undef ZARN_HONORIFICS
    ;
constexpr std::string_view kParticles =
#define ZARN_PARTICLES
#include "desktop/names/other_words.inc"
#undef ZARN_PARTICLES
    ;
constexpr std::string_view kNoSurnames =
#define ZARN_NO_SURNAMES
#include "desktop/names/other_words.inc"
#undef ZARN_NO_SURNAMES
    ;

/// U+00DF to U+017F in lower case, as the letter below the accent; a dot for what is no such
/// letter.
constexpr std::string_view kLatinBase =
    "s"                                 // DF
    "aaaaaaaceeeeiiiidnooooo.ouuuuyty"  // E0
    "aaaaaaccccccccdddd"                // 100
    "eeeeeeeeeegggggggghhhh"            // 112
    "iiiiiiiiiiiijjkkkllllllllll"       // 128
    "nnnnnnnnnoooooooorrrrrrssssssss"   // 143
    "ttttttuuuuuuuuuuuuwwyyyzzzzzzs";   // 162
static_assert(kLatinBase.size() == 0x180 - 0xDF);

/// A letter in lower case without its accents; 0 for what only joins or marks letters.
char32_t foldedLetter(char32_t letter) {
  if (letter < 0x80) {
    return letter == '\'' || letter == '-' ? 0 : base::lowerCase(letter);
  }
  if (letter == 0x2019 || (letter >= 0x300 && letter <= 0x36F)) return 0;
  const char32_t lower = base::lowerCase(letter);
  if (lower >= 0xDF && lower < 0x180) {
    const char plain = kLatinBase[lower - 0xDF];
    return plain == '.' ? lower : static_cast<char32_t>(plain);
  }
  switch (lower) {
    case 0x1A1:
      return 'o';
    case 0x1B0:
      return 'u';
    case 0x219:
      return 's';
    case 0x21B:
      return 't';
    case 0x451:
      return 0x435;
    default:
      break;
  }
  if (lower < 0x1EA0 || lower > 0x1EF9) return lower;
  if (lower <= 0x1EB7) return 'a';
  if (lower <= 0x1EC7) return 'e';
  if (lower <= 0x1ECB) return 'i';
  if (lower <= 0x1EE3) return 'o';
  return lower <= 0x1EF1 ? 'u' : 'y';
}

/// The folded word in a buffer of its own; empty if it is too long to be in a list.
class FoldedWord {
 public:
  explicit FoldedWord(std::string_view word) {
    for (std::size_t at = 0; at < word.size();) {
      const base::CodePoint next = base::codePointAt(word, at);
      const char32_t letter = foldedLetter(next.value);
      if (next.length == 0 || size_ + 2 > bytes_.size() || letter > 0x7FF) {
        size_ = 0;
        return;
      }
      at += next.length;
      if (letter >= 0x80) {
        bytes_[size_++] = static_cast<char>(0xC0 | (letter >> 6));
        bytes_[size_++] = static_cast<char>(0x80 | (letter & 0x3F));
      } else if (letter != 0) {
        bytes_[size_++] = static_cast<char>(letter);
      }
    }
  }
  std::string_view view() const { return {bytes_.data(), size_}; }

 private:
  std::array<char, kLongestWord + 1> bytes_{};
  std::size_t size_ = 0;
};

}  // namespace

const NameLexicon& NameLexicon::shared() {
  static const NameLexicon& lexicon = *new NameLexicon;
  return lexicon;
}

NameLexicon::NameLexicon() : slots_(kSlots) {
  add(kGivenNames, kGivenName);
  add(kAmbiguousNames, kGivenName | kAmbiguousName);
  add(kSurnames, kSurname);
  add(kHonorifics, kHonorific);
  add(kParticles, kParticle);
  add(kNoSurnames, kNoSurname);
}

void NameLexicon::add(std::string_view words, unsigned kinds) {
  while (!words.empty()) {
    const std::size_t end = std::min(words.find(' '), words.size());
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(std::min(end + 1, words.size()));
    if (word.empty() || word.size() > kLongestWord) continue;
    auto& slot = const_cast<Slot&>(slotOf(word));
    if (slot.word == nullptr) {
      slot.word = word.data();
      slot.length = static_cast<std::uint8_t>(word.size());
      ++size_;
    }
    slot.kinds = static_cast<std::uint8_t>(slot.kinds | kinds);
  }
}

const NameLexicon::Slot& NameLexicon::slotOf(std::string_view folded) const {
  for (std::size_t at = base::fnv1a64(folded);; ++at) {
    const Slot& slot = slots_[at & (kSlots - 1)];
    if (slot.word == nullptr || std::string_view(slot.word, slot.length) == folded) return slot;
  }
}

unsigned NameLexicon::kindsOf(std::string_view word) const {
  const FoldedWord folded(word);
  return folded.view().empty() ? 0 : slotOf(folded.view()).kinds;
}

}  // namespace zarn::desktop
