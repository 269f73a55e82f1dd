// QtImageCodec: pictures as JPEG, by Qt's image plugins.
#pragma once

#include "platform/image_codec.h"

namespace zarn::qt {

class QtImageCodec final : public platform::ImageCodec {
 public:
  std::optional<std::string> encodeJpeg(const platform::Bitmap& bitmap, double quality) override;
};

}  // namespace zarn::qt
