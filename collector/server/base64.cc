#include "server/base64.h"

#include <openssl/evp.h>

#include <climits>

namespace zarn::collector {

std::optional<std::string> decodedBase64(std::string_view text) {
  if (text.size() % 4 != 0 || text.size() > INT_MAX) return std::nullopt;
  const auto bytesOf = [](auto& of) { return reinterpret_cast<unsigned char*>(of.data()); };
  std::string bytes(text.size() / 4 * 3, '\0');
  const int length = static_cast<int>(text.size());
  const auto* letters = reinterpret_cast<const unsigned char*>(text.data());
  if (EVP_DecodeBlock(bytesOf(bytes), letters, length) != static_cast<int>(bytes.size())) {
    return std::nullopt;
  }
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) {
    bytes.pop_back();
    text.remove_suffix(1);
  }
  // The decoder puts up with blanks and stray bits; what it read must be what would be written.
  std::string again(static_cast<std::size_t>(length) + 1, '\0');
  EVP_EncodeBlock(bytesOf(again), bytesOf(bytes), static_cast<int>(bytes.size()));
  again.pop_back();
  const std::string_view written = again;
  const bool isSame = written.substr(0, text.size()) == text &&
                      written.find_first_not_of('=', text.size()) == written.npos;
  return isSame ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace zarn::collector
