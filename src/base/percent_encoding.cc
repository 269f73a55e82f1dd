#include "base/percent_encoding.h"

#include "base/hex.h"
#include "base/text.h"

namespace zarn::base {
namespace {

bool isUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

}  // namespace

std::string percentEncoded(std::string_view text) {
  if (!isValidUtf8(text)) return percentEncoded(replaceInvalidUtf8(text));
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    if (isUnreserved(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kUpperHexDigits[byte >> 4], kUpperHexDigits[byte & 15]};
    }
  }
  return encoded;
}

}  // namespace zarn::base
