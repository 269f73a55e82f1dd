// The words that names are recognised by: given names, surnames, titles, particles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zarn::desktop {

enum WordKind : unsigned {
  kGivenName = 1,
  kAmbiguousName = 2,  // a given name that is an everyday word as well
  kSurname = 4,
  kHonorific = 8,
  kParticle = 16,
  kNoSurname = 32,  // an everyday word, capital initial or not
};

/// One immutable table for the process, made at first use (about half a millisecond) and never
/// destroyed.
class NameLexicon {
 public:
  static const NameLexicon& shared();

  /// The kinds of a word, without regard to case, accents, apostrophes and hyphens.
  unsigned kindsOf(std::string_view word) const;

  std::size_t size() const { return size_; }

 private:
  struct Slot {
    const char* word = nullptr;
    std::uint8_t length = 0;
    std::uint8_t kinds = 0;
  };

  NameLexicon();
  void add(std::string_view words, unsigned kinds);
  const Slot& slotOf(std::string_view folded) const;

  std::vector<Slot> slots_;  // open addressing; a power of two
  std::size_t size_ = 0;
};

}  // namespace zarn::desktop
