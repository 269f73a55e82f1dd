#include "desktop/random.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/fork_guard.h"
#include "desktop/descriptor.h"

namespace zarn::desktop {
namespace {

/// What one thread has fetched and not yet given out, at the end.
struct Reserve {
  std::array<std::uint8_t, 512> bytes;
  std::size_t left;
};
constinit thread_local Reserve reserve{};

/// Neither the call nor the device is there (a sandbox): identifiers must still differ.
void fillFromClock(std::span<std::uint8_t> bytes) {
  static thread_local std::uint64_t state = 0;
  for (auto& byte : bytes) {
    state +=
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
        reinterpret_cast<std::uintptr_t>(&state) ^ 0x9e3779b97f4a7c15;
    std::uint64_t mixed = (state ^ (state >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    byte = static_cast<std::uint8_t>(mixed >> 56);
  }
}

void fetch(std::span<std::uint8_t> bytes) {
  Descriptor device;
  while (!bytes.empty()) {
    ssize_t got = ::getrandom(bytes.data(), bytes.size(), 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      if (!device) device = Descriptor(::open("/dev/urandom", O_RDONLY | O_CLOEXEC));
      got = device ? ::read(device.get(), bytes.data(), bytes.size()) : -1;
    }
    if (got <= 0) return fillFromClock(bytes);
    bytes = bytes.subspan(static_cast<std::size_t>(got));
  }
}

}  // namespace

KernelRandom::KernelRandom() {
  base::watchForks();
}

void KernelRandom::fill(std::span<std::uint8_t> bytes) {
  // A child must not repeat what its parent gives out.
  if (bytes.size() > reserve.bytes.size() || base::inForkedChild()) return fetch(bytes);
  if (bytes.size() > reserve.left) {
    fetch(reserve.bytes);
    reserve.left = reserve.bytes.size();
  }
  std::uint8_t* const from = reserve.bytes.data() + reserve.bytes.size() - reserve.left;
  std::copy_n(from, bytes.size(), bytes.data());
  std::memset(from, 0, bytes.size());
  reserve.left -= bytes.size();
}

std::uint64_t KernelRandom::next() {
  std::array<std::uint8_t, sizeof(std::uint64_t)> bytes;
  fill(bytes);
  std::uint64_t value = 0;
  std::memcpy(&value, bytes.data(), sizeof(value));
  return value;
}

}  // namespace zarn::desktop
