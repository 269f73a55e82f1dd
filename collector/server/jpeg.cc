#include "server/jpeg.h"

#include <cstddef>

namespace zarn::collector {
namespace {

constexpr std::string_view kStart = "\xFF\xD8";
constexpr std::string_view kEnd = "\xFF\xD9";
constexpr int kStartOfScan = 0xDA;

// Of a frame, among them not those of tables and of arithmetic coding's conditions.
bool isFrame(int marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool standsAlone(int marker) {
  return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
}

}  // namespace

std::optional<JpegSize> jpegSize(std::string_view bytes) {
  if (!bytes.starts_with(kStart) || !bytes.ends_with(kEnd)) return std::nullopt;
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
  const auto number = [&](std::size_t at) { return byte(at) * 256 + byte(at + 1); };
  std::size_t at = kStart.size();
  while (at + 4 <= bytes.size() && byte(at) == 0xFF) {
    const int marker = byte(at + 1);
    if (marker == 0xFF || standsAlone(marker)) {
      at += marker == 0xFF ? 1 : 2;
      continue;
    }
    if (marker == kStartOfScan) return std::nullopt;
    if (isFrame(marker)) {
      if (at + 9 > bytes.size()) return std::nullopt;
      const JpegSize size{number(at + 7), number(at + 5)};
      return size.width > 0 && size.height > 0 ? std::optional(size) : std::nullopt;
    }
    at += 2 + static_cast<std::size_t>(number(at + 2));
  }
  return std::nullopt;
}

}  // namespace zarn::collector
