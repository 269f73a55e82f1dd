// Pictures as bytes.
#pragma once

#include <optional>
#include <string>

namespace zarn::platform {

struct Bitmap;

/// Any thread. May take tens of milliseconds.
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;
  /// `quality`: 0 to 1. Nothing when the picture can't be encoded.
  virtual std::optional<std::string> encodeJpeg(const Bitmap& bitmap, double quality) = 0;
};

}  // namespace zarn::platform
