#include "server/digest.h"

#include <openssl/sha.h>

namespace zarn::collector {

std::string sha256Hex(std::string_view text) {
  unsigned char digest[SHA256_DIGEST_LENGTH];
  SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest);
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hex;
  for (const unsigned char byte : digest) {
    hex += digits[byte >> 4];
    hex += digits[byte & 15];
  }
  return hex;
}

}  // namespace zarn::collector
