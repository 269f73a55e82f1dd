#include "desktop/name_tagger.h"

#include <optional>

#include "desktop/name_lexicon.h"
#include "desktop/name_words.h"

namespace zarn::desktop {
namespace {

using platform::TextRange;

constexpr int kMostWordsOfName = 8;
constexpr std::size_t kShortestShoutedSurname = 5;

bool is(const NameWord& word, unsigned kind) {
  return (word.kinds & kind) != 0;
}

/// A given name that says "a person" by itself. Three capitals are sooner an abbreviation.
bool isClearGivenName(const NameWord& word) {
  if (!word.capital || !is(word, kGivenName) || is(word, kAmbiguousName)) return false;
  return !word.allCapitals || word.letters > 3;
}

bool isClearSurname(const NameWord& word) {
  return word.capital && is(word, kSurname) && !is(word, kNoSurname);
}

bool isEverydayWord(const NameWord& word) {
  return is(word, kNoSurname) && !is(word, kSurname | kGivenName);
}

class NameReader {
 public:
  explicit NameReader(NameWords& words) : words_(words) {}

  std::optional<TextRange> nameAt(const NameWord& word) const {
    if (is(word, kHonorific)) {
      if (auto name = nameAfterTitle(word)) return name;
    }
    if (isClearGivenName(word)) return TextRange{word.begin, endOfName(word, false)};
    if (is(word, kGivenName)) {
      const auto surname = surnameAfter(word);
      if (surname) return TextRange{word.begin, endOfName(*surname, true)};
    }
    if (word.initial && words_.dotFollows(word)) {
      const auto surname = surnameAfter(word);
      if (surname) return TextRange{word.begin, endOfName(*surname, true)};
    }
    return isClearSurname(word) ? nameBehindSurname(word) : std::nullopt;
  }

 private:
  /// "Dr. Unknown", "Frau Prof. Meier-Schulz".
  std::optional<TextRange> nameAfterTitle(NameWord title) const {
    for (int count = 0; count < 3; ++count) {
      const auto next = words_.following(title);
      if (!next || isEverydayWord(*next)) return std::nullopt;
      if (is(*next, kHonorific) && next->capital) {
        title = *next;
        continue;
      }
      if (!next->capital && !is(*next, kParticle)) return std::nullopt;
      const bool given = is(*next, kGivenName) || next->initial;
      if (next->capital) return TextRange{next->begin, endOfName(*next, !given)};
      const auto end = endAfterParticles(*next);
      if (!end) return std::nullopt;
      return TextRange{next->begin, *end};
    }
    return std::nullopt;
  }

  /// The clear surname after a word, behind up to two initials or particles.
  std::optional<NameWord> surnameAfter(NameWord word) const {
    for (int count = 0; count < 3; ++count) {
      const auto next = words_.following(word);
      if (!next) return std::nullopt;
      if (isClearSurname(*next)) return next;
      if (!next->initial && !is(*next, kParticle)) return std::nullopt;
      word = *next;
    }
    return std::nullopt;
  }

  /// "Smith, John", "Kowalska Anna", "Nguyen Thi Huong".
  std::optional<TextRange> nameBehindSurname(const NameWord& surname) const {
    auto next = words_.following(surname);
    if (!next) next = words_.following(surname, true);
    for (int count = 0; count < 3 && next && next->capital; ++count) {
      if (isClearGivenName(*next)) return TextRange{surname.begin, endOfName(*next, false)};
      if (!is(*next, kGivenName | kSurname) || isEverydayWord(*next)) break;
      next = words_.following(*next);
    }
    return std::nullopt;
  }

  /// "van der Berg": the end of the capitalised word behind particles.
  std::optional<std::size_t> endAfterParticles(NameWord word) const {
    for (int count = 0; count < 3; ++count) {
      const auto next = words_.following(word);
      if (!next) return std::nullopt;
      if (next->capital && !is(*next, kParticle)) {
        if (isEverydayWord(*next)) return std::nullopt;
        return next->end;
      }
      if (!is(*next, kParticle)) return std::nullopt;
      word = *next;
    }
    return std::nullopt;
  }

  /// Where the name that `last` belongs to ends: given names, initials and particles go on until a
  /// surname, known or not; known surnames go on after that.
  std::size_t endOfName(NameWord last, bool hasSurname) const {
    const bool shouted = last.allCapitals;
    std::size_t end = last.end;
    for (int count = 1; count < kMostWordsOfName; ++count) {
      const auto next = words_.following(last);
      if (!next || isEverydayWord(*next)) break;
      if (is(*next, kParticle) && (!next->capital || !is(*next, kSurname | kGivenName))) {
        const auto behind = endAfterParticles(*next);
        if (!behind) break;
        return *behind;
      }
      if (!next->capital) break;
      if (next->initial) {
        if (!words_.dotFollows(*next) && !surnameAfter(*next)) break;
        last = *next;
        end = next->end + (words_.dotFollows(*next) ? 1 : 0);
        continue;
      }
      const bool known = is(*next, kSurname) || (!hasSurname && is(*next, kGivenName));
      if (!known) {
        const bool abbreviation = next->allCapitals != shouted &&
                                  !(next->allCapitals && next->letters >= kShortestShoutedSurname);
        if (hasSurname || abbreviation || next->letters < 2) break;
      }
      hasSurname = hasSurname || !known || !is(*next, kGivenName);
      last = *next;
      end = next->end;
    }
    return end;
  }

  NameWords& words_;
};

}  // namespace

DictionaryNameTagger::DictionaryNameTagger() {
  NameLexicon::shared();
}

void DictionaryNameTagger::findNames(std::string_view text, std::vector<TextRange>& names) const {
  NameWords words(text);
  const NameReader reader(words);
  for (auto word = words.nextCandidate(0); word;) {
    const auto name = reader.nameAt(*word);
    if (name) names.push_back(*name);
    word = words.nextCandidate(name ? name->end : word->end);
  }
}

}  // namespace zarn::desktop
