// Which event ids are here, and where: the one place that tells a new event from a repeated one. It
// is kept in memory because an index over random ids in the file costs more than all the rest:
// every event dirties a page of its own.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zarn::collector {

class IdIndex {
 public:
  std::optional<std::int64_t> find(std::string_view id) const;
  void insert(std::string_view id, std::int64_t seq);
  void erase(std::string_view id);
  void clear();

 private:
  using Bits = std::array<unsigned char, 16>;
  struct Hash {
    // Ids are random: any part of one will do.
    std::size_t operator()(const Bits& bits) const {
      std::size_t part = 0;
      std::memcpy(&part, bits.data() + 8, sizeof part);
      return part;
    }
  };
  static std::optional<Bits> bitsOf(std::string_view id);

  std::unordered_map<Bits, std::int64_t, Hash> uuids_;
  std::unordered_map<std::string, std::int64_t> others_;  // ids of no valid shape
};

}  // namespace zarn::collector
