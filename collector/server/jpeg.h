// What a JPEG says of itself.
#pragma once

#include <optional>
#include <string_view>

namespace zarn::collector {

struct JpegSize {
  int width = 0, height = 0;  // pixels, above 0
};

/// From its header. Nothing for bytes that are no JPEG, or one without its end.
std::optional<JpegSize> jpegSize(std::string_view bytes);

}  // namespace zarn::collector
