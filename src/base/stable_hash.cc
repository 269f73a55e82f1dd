#include "base/stable_hash.h"

#include "base/text.h"

namespace zarn::base {

std::uint32_t stableHash(std::string_view utf8) {
  if (!isValidUtf8(utf8)) return stableHash(replaceInvalidUtf8(utf8));
  std::uint32_t hash = 0;
  const auto add = [&](char32_t unit) { hash = hash * 31 + static_cast<std::uint32_t>(unit); };
  for (std::size_t at = 0; at < utf8.size();) {
    const CodePoint next = codePointAt(utf8, at);
    at += next.length;
    if (next.value < 0x10000) {
      add(next.value);
    } else {
      add(0xD800 + ((next.value - 0x10000) >> 10));
      add(0xDC00 + ((next.value - 0x10000) & 0x3FF));
    }
  }
  return hash;
}

}  // namespace zarn::base
