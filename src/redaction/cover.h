// Painting over what must not be seen in a picture.
#pragma once

#include <span>

#include "base/geometry.h"

namespace zarn::platform {
struct Bitmap;
}

namespace zarn::redaction {

/// Fills the rectangles, which are in points, with opaque black; outwards to whole pixels, and one
/// more around. One that makes no sense covers everything.
void cover(platform::Bitmap& bitmap, std::span<const base::Rect> rects);

}  // namespace zarn::redaction
