// Randomness fit for identifiers.
#pragma once

#include <cstdint>
#include <span>

namespace zarn::platform {

/// Any thread; never fails. No call costs a system call each: identifiers are made on host threads.
class Random {
 public:
  virtual ~Random() = default;
  virtual void fill(std::span<std::uint8_t> bytes) = 0;
  virtual std::uint64_t next() = 0;
};

}  // namespace zarn::platform
