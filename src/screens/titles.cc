#include "screens/titles.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/letters.h"
#include "base/text.h"
#include "screens/title_words.h"

namespace zarn::screens {
namespace {

constexpr std::size_t kFewestCharacters = 3;
constexpr std::size_t kMostCharacters = 32;
constexpr double kMostNumbers = 0.5;         // share of the characters
constexpr double kMostForeignLetters = 0.3;  // share of the letters
constexpr double kFewestKnownWords = 0.4;    // share of the words

struct Letters {
  int characters = 0;
  int numbers = 0;
  int letters = 0;
  int foreign = 0;                 // letters neither Latin, Greek nor Cyrillic
  std::vector<std::string> words;  // in the case they are written in
};

bool isForeign(char32_t letter) {
  const bool isAscii = (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
  return !isAscii && !(letter >= 0xC0 && letter <= 0x52F);
}

Letters lettersOf(std::string_view text) {
  Letters found;
  bool isInWord = false;
  while (!text.empty()) {
    const std::string_view character = base::prefixOfCharacters(text, 1);
    text.remove_prefix(character.size());
    ++found.characters;
    if (!base::isLetterOrNumber(character)) {
      isInWord = false;
      continue;
    }
    if (base::isNumber(character)) {
      ++found.numbers;
    } else {
      ++found.letters;
      if (isForeign(base::codePointAt(character, 0).value)) ++found.foreign;
    }
    if (!isInWord) found.words.emplace_back();
    isInWord = true;
    found.words.back() += character;
  }
  return found;
}

/// The share of the words that are known. Two neighbours that are written as one word elsewhere
/// ("sign in", "get started") are known as that word.
double knownShare(const std::vector<std::string>& words) {
  std::vector<std::string> counted;
  for (const std::string& word : words) {
    if (base::countCharacters(word, 2) == 2) counted.push_back(base::lowerCase(word));
  }
  if (counted.empty()) return 0;
  int known = 0;
  for (std::size_t i = 0; i < counted.size(); ++i) {
    const bool isPair = i + 1 < counted.size() && isOneOf(counted[i] + counted[i + 1], kTitleWords);
    known += isPair ? 2 : isOneOf(counted[i], kTitleWords) ? 1 : 0;
    if (isPair) ++i;
  }
  return static_cast<double>(known) / static_cast<double>(counted.size());
}

bool isVowel(char32_t lower) {
  constexpr std::u32string_view kVowels =
      U"aeiouyàáâãäåæèéêëìíîïòóôõöøùúûüýÿāăąēĕėęěĩīĭįıōŏőœũūŭůűųŷǎǐǒǔǖǘǚǜǫơưșаеиоуыэюяёіїєўѐѝӑӗӣӧӯ"
      U"αεηιουωάέήίόύώϊϋΐΰ";
  return kVowels.find(lower) != std::u32string_view::npos;
}

/// An unknown word passes when it can be spoken: no figures in it, vowels among its consonants, and
/// not capitals at random. Consonants may come in long rows (German has eight of them in
/// "Geschichtsschreibung"), and a few capitals without a vowel are an abbreviation ("SMS").
bool canBeSpoken(std::string_view word) {
  constexpr int kLongestRowOfConsonants = 8;
  constexpr int kLongestAbbreviation = 4;
  constexpr int kFewestLettersAPart = 3;  // on average, of a word in camel case
  int letters = 0, vowels = 0, capitals = 0, parts = 1, row = 0, longestRow = 0, changes = 0;
  bool wasCapital = true;
  char32_t last = 0;
  for (std::size_t at = 0; at < word.size();) {
    const base::CodePoint next = base::codePointAt(word, at);
    const std::string_view character = word.substr(at, next.length);
    at += next.length;
    if (!base::isLetterOrNumber(character)) continue;  // an accent of its own
    if (base::isNumber(character)) return false;
    const char32_t lower = base::lowerCase(next.value);
    const bool isCapital = lower != next.value;
    ++letters;
    capitals += isCapital;
    parts += isCapital && !wasCapital;
    wasCapital = isCapital;
    changes += letters > 1 && lower != last;
    last = lower;
    vowels += isVowel(lower);
    row = isVowel(lower) ? 0 : row + 1;
    longestRow = std::max(longestRow, row);
  }
  if (changes == 0 || parts * kFewestLettersAPart > letters) return false;
  if (vowels == 0) return capitals == letters && letters <= kLongestAbbreviation;
  return longestRow <= kLongestRowOfConsonants;
}

}  // namespace

bool isLikelyTitle(std::string_view text) {
  text = base::trimmed(text);
  const std::size_t characters = base::countCharacters(text, kMostCharacters + 1);
  if (characters < kFewestCharacters || characters > kMostCharacters) return false;
  if (containsOneOf(base::lowerCase(text), kPlaceholderPhrases)) return false;

  const Letters found = lettersOf(text);
  if (found.numbers > found.characters * kMostNumbers) return false;
  if (found.letters == 0 || found.foreign > found.letters * kMostForeignLetters) return false;

  const double known = knownShare(found.words);
  if (found.words.size() > 1) return known >= kFewestKnownWords;
  return known == 1 || canBeSpoken(found.words.front());
}

}  // namespace zarn::screens
