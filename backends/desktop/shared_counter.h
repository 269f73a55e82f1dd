// A count that all processes of an app see: a small file, mapped for reading, so that asking costs
// one load.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace zarn::desktop {

/// Not synchronised within the process. Without its file it stays at 0.
class SharedCounter {
 public:
  /// Does not open the file yet.
  explicit SharedCounter(std::string path) : path_(std::move(path)) {}
  ~SharedCounter();
  SharedCounter(const SharedCounter&) = delete;
  SharedCounter& operator=(const SharedCounter&) = delete;

  /// Maps the file, made if need be; maps again when another file has taken its place.
  void open();
  std::uint64_t value() const;
  /// Adds one and returns the new count. Callers of different processes hold a common lock.
  std::uint64_t increment();

 private:
  void unmap();

  const std::string path_;
  const std::uint64_t* mapped_ = nullptr;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace zarn::desktop
