// Random bytes of the kernel, fetched in blocks: one system call serves many identifiers.
#pragma once

#include "platform/random.h"

namespace zarn::desktop {

class KernelRandom final : public platform::Random {
 public:
  KernelRandom();
  void fill(std::span<std::uint8_t> bytes) override;
  std::uint64_t next() override;
};

}  // namespace zarn::desktop
