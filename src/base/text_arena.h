// TextArena: where the texts of one walk over a screen live, so that no node costs an allocation.
//
//   arena.reset();                          // at the start of a walk
//   std::string_view label = arena.copy(text);
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace zarn::base {

/// One thread at a time. Keeps its memory, so that a second walk of the same size allocates
/// nothing; after an unusually large one it goes back to its usual size.
class TextArena {
 public:
  TextArena() = default;
  TextArena(const TextArena&) = delete;
  TextArena& operator=(const TextArena&) = delete;

  /// Room for `size` bytes, until the next reset.
  char* allocate(std::size_t size) {
    while (current_ < blocks_.size() && blocks_[current_].size - used_ < size) {
      ++current_;
      used_ = 0;
    }
    if (current_ == blocks_.size()) {
      const std::size_t blockSize = std::max(size, kBlockSize);
      blocks_.push_back({std::make_unique<char[]>(blockSize), blockSize});
    }
    char* const room = blocks_[current_].bytes.get() + used_;
    used_ += size;
    return room;
  }

  std::string_view copy(std::string_view text) {
    if (text.empty()) return {};
    char* const room = allocate(text.size());
    std::memcpy(room, text.data(), text.size());
    return {room, text.size()};
  }

  /// Every text given out so far is gone.
  void reset() {
    if (blocks_.size() > kBlocksKept) blocks_.resize(kBlocksKept);
    current_ = 0;
    used_ = 0;
  }

 private:
  static constexpr std::size_t kBlockSize = std::size_t{16} << 10;
  static constexpr std::size_t kBlocksKept = 4;
  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t size;
  };
  std::vector<Block> blocks_;
  std::size_t current_ = 0;
  std::size_t used_ = 0;  // of the current block
};

}  // namespace zarn::base
