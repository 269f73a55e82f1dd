// What the class text of a view tells about it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zarn::screens {

struct ClassTraits {
  bool isSystemOverlay = false;  // comes and goes over what the app shows
  bool isWrapper = false;        // stands for its only child
  bool looksLoading = false;
  bool looksLikeList = false;  // if it scrolls
  bool looksLikeRow = false;   // if it lies in a list
};

ClassTraits classTraits(std::string_view classText);

/// Remembers them: an app has few classes and many views. One thread at a time; bounded.
class ClassTraitsMemory {
 public:
  ClassTraits of(std::string_view classText);

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  std::unordered_map<std::string, ClassTraits, Hash, std::equal_to<>> known_;
};

}  // namespace zarn::screens
