#include "redaction/cover.h"

#include <algorithm>
#include <cmath>

#include "platform/windows.h"

namespace zarn::redaction {
namespace {

int pixel(double value, int most) {
  return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(most)));
}

/// In pixels; `right` and `bottom` are just outside.
struct Area {
  int left = 0, top = 0, right = 0, bottom = 0;
};

Area areaOf(const base::Rect& rect, const platform::Bitmap& bitmap) {
  // A picture that was drawn at another scale has edges that run into the pixels beside them.
  constexpr double kFringe = 1;
  const double left = std::floor(rect.x * bitmap.scale) - kFringe;
  const double top = std::floor(rect.y * bitmap.scale) - kFringe;
  const double right = std::ceil(rect.right() * bitmap.scale) + kFringe;
  const double bottom = std::ceil(rect.bottom() * bitmap.scale) + kFringe;
  const bool makesSense = bitmap.scale > 0 && std::isfinite(left) && std::isfinite(top) &&
                          std::isfinite(right) && std::isfinite(bottom);
  if (!makesSense) return {0, 0, bitmap.width, bitmap.height};
  return {pixel(left, bitmap.width), pixel(top, bitmap.height), pixel(right, bitmap.width),
          pixel(bottom, bitmap.height)};
}

constexpr std::uint8_t kBlack[] = {0, 0, 0, 255};

}  // namespace

void cover(platform::Bitmap& bitmap, std::span<const base::Rect> rects) {
  for (const base::Rect& rect : rects) {
    const Area area = areaOf(rect, bitmap);
    for (int y = area.top; y < area.bottom; ++y) {
      std::uint8_t* const row = bitmap.row(y);
      for (int x = area.left; x < area.right; ++x) {
        std::copy(std::begin(kBlack), std::end(kBlack), row + std::ptrdiff_t{x} * 4);
      }
    }
  }
}

}  // namespace zarn::redaction
