#include "desktop/crypto.h"

#include <openssl/sha.h>

namespace zarn::desktop {

platform::Sha256Digest OpensslCrypto::sha256(std::string_view bytes) {
  // Not through EVP: that can fail, and is gone once the process has begun to end, while the
  // destructor of a host's static may still track.
  platform::Sha256Digest digest;
  SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), digest.data());
  return digest;
}

}  // namespace zarn::desktop
