// Cuts text into the words that names are made of.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zarn::desktop {

/// Letters, and apostrophes and hyphens inside a name: "O'Neill", "Jean-Pierre", "al-Hassan". A
/// possessive 's is left out.
struct NameWord {
  std::size_t begin = 0;  // bytes
  std::size_t end = 0;
  unsigned kinds = 0;  // of WordKind; looked up only for words that a name can use
  std::size_t letters = 0;
  bool capital = false;      // begins with a capital letter, perhaps after a particle
  bool allCapitals = false;  // at least two letters, no small one
  bool initial = false;      // one capital letter
};

/// Linear; e-mail addresses and handles count as no words, so that the expressions that look for
/// them see them whole.
class NameWords {
 public:
  explicit NameWords(std::string_view text) : text_(text) {}

  /// The next word at `from` or later that begins a name, a title or a surname by its looks.
  std::optional<NameWord> nextCandidate(std::size_t from);

  /// The word that follows `word` within a name: after blanks, after a dot where `word` is an
  /// initial or may be shortened, or after a comma where that is asked for.
  std::optional<NameWord> following(const NameWord& word, bool afterComma = false);

  bool dotFollows(const NameWord& word) const {
    return word.end < text_.size() && text_[word.end] == '.';
  }

 private:
  NameWord wordAt(std::size_t begin);
  NameWord readWord(std::size_t begin) const;
  std::size_t joinedPart(const NameWord& word) const;
  void passAddress(std::size_t from);

  const std::string_view text_;
  std::size_t addressBegin_ = 0;
  std::size_t addressEnd_ = 0;
  std::array<NameWord, 8> recent_{};  // words are looked at from several before them
};

}  // namespace zarn::desktop
