// Random texts made to trip up expressions and their prefilters: pieces of addresses, numbers and
// tokens, digits and spaces of other scripts, and the signs that equal a letter without regard to
// case.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::testing {

inline std::string hostileText(std::mt19937& random, std::size_t mostPieces) {
  using Pieces = std::vector<std::string_view>;
  static const std::vector<Pieces> alphabets = {
      {"a", "Z", "ſ", "K", "@", ".", "..", "-", "%", "co", "org", "1", "é", " ", "a@b.cc"},
      {"1", "23", "٣", "९", "4", "+", " ", "\u00A0", "\u2003", "\u0085", "(", ")", ".", "-", "x",
       "ä", "\u180E"},
      {"4111", "1111", "4", "0", "-", " ", "5500 0000 0000 0004", "_", "é", "a", "\u0301"},
      {"123-45-", "123", "45", "6789", "-", " ", "12", "_", "1", "٤٥", "x"},
      {"DE", "gb", "K", "ſ", "89", "37", "٣", "0400", "4405", "3201", "3000", " ", "é", "_", "A"},
      {"eyJ", "EYj.", "eyJa.", " eyJb.eyJ", ".", "-", "_", "Kx", "ſ", "a1", " ", "é", "ey", "J"},
      {"@", "a", "_", ".", "9", "ſ", "K", "é", "abc", " ", "@@"},
      {"0123456789abcdef", "a", "+", "/", "_", "-", "----", "K", "ſ", "é", "š", "–", "aaaaaaa",
       " "},
      {"\u0301", "[redacted]", "@abc", "漢字", "😀", "a@b.cc", "+49 30 1234567", "\r\n", "eyJ",
       "Anna", std::string_view("\0", 1)},
  };
  std::uniform_int_distribution<std::size_t> anyAlphabet(0, alphabets.size() - 1);
  std::uniform_int_distribution<unsigned> percent(0, 99);
  const Pieces* pieces = &alphabets[anyAlphabet(random)];
  std::string text;
  for (auto left = std::uniform_int_distribution<std::size_t>(0, mostPieces)(random); left > 0;
       --left) {
    if (percent(random) < 3) pieces = &alphabets[anyAlphabet(random)];
    text += (*pieces)[std::uniform_int_distribution<std::size_t>(0, pieces->size() - 1)(random)];
  }
  return text;
}

}  // namespace zarn::testing
