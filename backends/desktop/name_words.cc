#include "desktop/name_words.h"

#include <algorithm>

#include "base/text.h"
#include "desktop/name_lexicon.h"

namespace zarn::desktop {
namespace {

bool isLetter(char32_t value) {
  if (value < 0x80) return (value | 0x20) >= 'a' && (value | 0x20) <= 'z';
  if (value < 0x250) return value >= 0xC0 && value != 0xD7 && value != 0xF7;
  return (value >= 0x300 && value <= 0x3FF) || (value >= 0x400 && value <= 0x52F) ||
         (value >= 0x531 && value <= 0x587) || (value >= 0x1E00 && value <= 0x1FFF);
}

bool isCapital(char32_t value) {
  return base::lowerCase(value) != value;
}

bool isAddressByte(char byte) {
  return ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z') || (byte >= '0' && byte <= '9') ||
         std::string_view("._%+-").find(byte) != std::string_view::npos;
}

/// Length of an apostrophe at `at`, or 0.
std::size_t apostrophe(std::string_view text, std::size_t at) {
  if (at >= text.size()) return 0;
  if (text[at] == '\'') return 1;
  return text.substr(at, 3) == "\u2019" ? 3 : 0;
}

std::size_t blanks(std::string_view text, std::size_t at) {
  const std::size_t begin = at;
  for (int count = 0; count < 3; ++count) {
    if (text.substr(at, 1) == " " || text.substr(at, 1) == "\t") {
      at += 1;
    } else if (text.substr(at, 2) == "\u00A0") {
      at += 2;
    } else {
      break;
    }
  }
  return at - begin;
}

}  // namespace

void NameWords::passAddress(std::size_t from) {
  if (from < addressEnd_) return;
  const std::size_t sign = text_.find('@', from);
  if (sign == std::string_view::npos) {
    addressBegin_ = addressEnd_ = text_.size() + 1;
    return;
  }
  addressBegin_ = sign;
  while (addressBegin_ > from && isAddressByte(text_[addressBegin_ - 1])) --addressBegin_;
  addressEnd_ = sign + 1;
  while (addressEnd_ < text_.size() && isAddressByte(text_[addressEnd_])) ++addressEnd_;
}

std::size_t NameWords::joinedPart(const NameWord& word) const {
  std::size_t at = word.end;
  const bool hyphen = at < text_.size() && text_[at] == '-';
  at += hyphen ? 1 : apostrophe(text_, at);
  if (at == word.end) return 0;
  const base::CodePoint next = base::codePointAt(text_, at);
  return next.length != 0 && isLetter(next.value) && isCapital(next.value) ? at : 0;
}

NameWord NameWords::wordAt(std::size_t begin) {
  NameWord& recent = recent_[begin % recent_.size()];
  if (recent.begin != begin || recent.end == 0) recent = readWord(begin);
  return recent;
}

NameWord NameWords::readWord(std::size_t begin) const {
  const NameLexicon& lexicon = NameLexicon::shared();
  NameWord word{begin, begin};
  std::size_t part = begin;
  std::size_t firstPartEnd = 0;
  bool small = false;
  bool smallStart = false;
  for (;;) {
    const base::CodePoint next = base::codePointAt(text_, word.end);
    if (next.length != 0 && isLetter(next.value)) {
      const bool capital = isCapital(next.value);
      if (word.letters == 0) word.capital = capital;
      if (word.end == part && !capital) smallStart = true;
      small = small || !capital;
      ++word.letters;
      word.end += next.length;
      continue;
    }
    const std::size_t joined = joinedPart(word);
    if (joined == 0) break;
    if (firstPartEnd == 0) firstPartEnd = word.end;
    word.end = part = joined;
  }
  word.allCapitals = !small && word.letters > 1;
  word.initial = word.letters == 1 && word.capital;
  // "al-Hassan", "d'Angelo": a small particle that belongs to the capital after it.
  const bool afterParticle = smallStart && part != begin;
  if (!word.capital && !afterParticle) return word;
  const auto kindsOf = [&](std::size_t from, std::size_t to) {
    return lexicon.kindsOf(text_.substr(from, to - from));
  };
  word.kinds = kindsOf(begin, word.end);
  if (firstPartEnd != 0) {
    word.kinds |= kindsOf(begin, firstPartEnd) & (kGivenName | kAmbiguousName);
    word.kinds |= kindsOf(part, word.end) & (kSurname | (word.capital ? 0U : kGivenName));
  }
  word.capital = true;
  return word;
}

std::optional<NameWord> NameWords::nextCandidate(std::size_t from) {
  for (std::size_t at = from; at < text_.size();) {
    passAddress(at);
    if (at >= addressBegin_) {
      at = addressEnd_;
      continue;
    }
    const base::CodePoint next = base::codePointAt(text_, at);
    if (next.length == 0 || !isLetter(next.value)) {
      at += std::max<std::size_t>(next.length, 1);
      continue;
    }
    const NameWord word = wordAt(at);
    if (word.capital && word.end <= addressBegin_) {
      if (word.kinds != 0 || word.initial) return word;
    }
    at = word.end;
  }
  return std::nullopt;
}

std::optional<NameWord> NameWords::following(const NameWord& word, bool afterComma) {
  std::size_t at = word.end;
  const bool mayBeShortened = word.initial || (word.kinds & (kHonorific | kParticle)) != 0;
  if (mayBeShortened && dotFollows(word)) {
    ++at;
  } else if (afterComma) {
    if (at >= text_.size() || text_[at] != ',') return std::nullopt;
    ++at;
  }
  const std::size_t gap = blanks(text_, at);
  if (gap == 0 && !(word.initial && at > word.end)) return std::nullopt;
  at += gap;
  const base::CodePoint next = base::codePointAt(text_, at);
  if (next.length == 0 || !isLetter(next.value)) return std::nullopt;
  NameWord found = wordAt(at);
  if (at >= addressBegin_ || found.end > addressBegin_) return std::nullopt;
  if (!found.capital && found.letters <= 5) {
    found.kinds = NameLexicon::shared().kindsOf(text_.substr(at, found.end - at)) & kParticle;
  }
  return found;
}

}  // namespace zarn::desktop
