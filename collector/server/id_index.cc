#include "server/id_index.h"

#include "server/wire_check.h"

namespace zarn::collector {
namespace {

unsigned digitOf(char c) {
  return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10);
}

}  // namespace

std::optional<IdIndex::Bits> IdIndex::bitsOf(std::string_view id) {
  if (!isEventId(id)) return std::nullopt;
  Bits bits{};
  std::size_t digits = 0;
  for (const char c : id) {
    if (c == '-') continue;
    unsigned char& byte = bits[digits++ / 2];
    byte = static_cast<unsigned char>(byte << 4 | digitOf(c));
  }
  return bits;
}

std::optional<std::int64_t> IdIndex::find(std::string_view id) const {
  if (const auto bits = bitsOf(id)) {
    const auto found = uuids_.find(*bits);
    return found == uuids_.end() ? std::nullopt : std::optional(found->second);
  }
  const auto found = others_.find(std::string(id));
  return found == others_.end() ? std::nullopt : std::optional(found->second);
}

void IdIndex::insert(std::string_view id, std::int64_t seq) {
  if (const auto bits = bitsOf(id)) {
    uuids_.emplace(*bits, seq);
  } else {
    others_.emplace(id, seq);
  }
}

void IdIndex::erase(std::string_view id) {
  if (const auto bits = bitsOf(id)) {
    uuids_.erase(*bits);
  } else {
    others_.erase(std::string(id));
  }
}

void IdIndex::clear() {
  uuids_.clear();
  others_.clear();
}

}  // namespace zarn::collector
