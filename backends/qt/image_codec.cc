#include "qt/image_codec.h"

#include <QBuffer>
#include <QImage>
#include <algorithm>

#include "platform/windows.h"

namespace zarn::qt {

std::optional<std::string> QtImageCodec::encodeJpeg(const platform::Bitmap& bitmap,
                                                    double quality) {
  if (bitmap.width <= 0 || bitmap.height <= 0) return std::nullopt;
  const auto rowBytes = static_cast<std::size_t>(bitmap.width) * 4;
  if (bitmap.pixels.size() < rowBytes * static_cast<std::size_t>(bitmap.height)) {
    return std::nullopt;
  }
  // Without its alpha, which JPEG has not.
  const QImage image(bitmap.pixels.data(), bitmap.width, bitmap.height,
                     static_cast<qsizetype>(rowBytes), QImage::Format_RGBX8888);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  const int percent = static_cast<int>(std::clamp(quality, 0.0, 1.0) * 100 + 0.5);
  if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "JPEG", percent)) {
    return std::nullopt;
  }
  return bytes.toStdString();
}

}  // namespace zarn::qt
