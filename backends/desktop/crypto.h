// Digests by OpenSSL.
#pragma once

#include "platform/crypto.h"

namespace zarn::desktop {

class OpensslCrypto final : public platform::Crypto {
 public:
  platform::Sha256Digest sha256(std::string_view bytes) override;
};

}  // namespace zarn::desktop
