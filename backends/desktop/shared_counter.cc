#include "desktop/shared_counter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "desktop/descriptor.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kMappedBytes = sizeof(std::uint64_t);

Descriptor openCounterFile(const std::string& path) {
  Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                         S_IRUSR | S_IWUSR));
  if (file) ::fchmod(file.get(), S_IRUSR | S_IWUSR);
  return file;
}

}  // namespace

SharedCounter::~SharedCounter() {
  unmap();
}

void SharedCounter::unmap() {
  if (mapped_) ::munmap(const_cast<std::uint64_t*>(mapped_), kMappedBytes);
  mapped_ = nullptr;
}

void SharedCounter::open() {
  const Descriptor file = openCounterFile(path_);
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (mapped_ && status.st_dev == device_ && status.st_ino == inode_) return;
  // Written out rather than left sparse: a full disk must fail here, not at an access to memory.
  if (status.st_size < static_cast<off_t>(kMappedBytes)) {
    const std::uint64_t zero = 0;
    if (::pwrite(file.get(), &zero, sizeof(zero), 0) != sizeof(zero)) return;
  }
  void* const at = ::mmap(nullptr, kMappedBytes, PROT_READ, MAP_SHARED, file.get(), 0);
  if (at == MAP_FAILED) return;
  unmap();
  mapped_ = static_cast<const std::uint64_t*>(at);
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

std::uint64_t SharedCounter::value() const {
  if (!mapped_) return 0;
  return std::atomic_ref<std::uint64_t>(*const_cast<std::uint64_t*>(mapped_))
      .load(std::memory_order_acquire);
}

std::uint64_t SharedCounter::increment() {
  open();
  const std::uint64_t next = value() + 1;
  const Descriptor file = openCounterFile(path_);
  // By a write and not through the mapping: a failing disk then gives an error and not a signal.
  if (!file || ::pwrite(file.get(), &next, sizeof(next), 0) != sizeof(next)) return value();
  return next;
}

}  // namespace zarn::desktop
