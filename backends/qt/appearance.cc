#include "qt/appearance.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <iterator>

namespace zarn::qt {
namespace {

constexpr double kTypographicPointsPerInch = 72;

/// Qt's weights 100 to 900 as parts of 1 away from the regular one, as fonts are drawn.
double weightOf(int weight) {
  constexpr double kWeights[] = {-0.8, -0.6, -0.4, 0, 0.23, 0.3, 0.4, 0.56, 0.62};
  return kWeights[std::clamp(weight / 100, 1, int{std::size(kWeights)}) - 1];
}

}  // namespace

platform::Color toColor(const QColor& color) {
  const QRgb rgb = color.rgba();
  return {static_cast<std::uint8_t>(qRed(rgb)), static_cast<std::uint8_t>(qGreen(rgb)),
          static_cast<std::uint8_t>(qBlue(rgb)), static_cast<std::uint8_t>(qAlpha(rgb))};
}

platform::Font toFont(const QFont& font) {
  platform::Font made;
  if (font.pixelSize() > 0) {
    made.pointSize = font.pixelSize();
  } else if (const QScreen* const screen = QGuiApplication::primaryScreen()) {
    made.pointSize = font.pointSizeF() * screen->logicalDotsPerInchY() / kTypographicPointsPerInch;
  }
  made.pointSize = std::max(made.pointSize, 0.0);
  made.weight = weightOf(font.weight());
  made.isBold = font.bold();
  return made;
}

}  // namespace zarn::qt
