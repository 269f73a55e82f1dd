// Finds personal names in text.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace zarn::platform {

/// Bytes [begin, end) of the text.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
  friend bool operator==(const TextRange&, const TextRange&) = default;
};

class NameTagger {
 public:
  virtual ~NameTagger() = default;
  /// Appends the ranges of personal names in `text`, in order and without overlap; the words of one
  /// name are joined. `text` is valid UTF-8. Any thread, several at once; linear in the text.
  virtual void findNames(std::string_view text, std::vector<TextRange>& names) const = 0;
};

}  // namespace zarn::platform
