#ifdef ZARN_POCKET_SHOP_PROGRAM

#include "shop_pictures.h"

#include <gtest/gtest.h>

#include <QImage>
#include <algorithm>
#include <cmath>

namespace zarn::testing {
namespace {

constexpr double kWindowWidth = 390;
// A JPEG of low quality blurs edges within blocks of eight.
constexpr int kBlock = 8;
constexpr int kBlack = 24;
constexpr int kBlackAtEdges = 96;

double at(const Array& place, std::size_t index) {
  const Value& each = place[index];
  const auto whole = each.asInt();
  return whole ? static_cast<double>(*whole) : each.asDouble().value_or(-1);
}

}  // namespace

ShopPicture::ShopPicture(const std::string& jpeg) {
  const QImage image = QImage::fromData(QByteArray::fromStdString(jpeg), "JPEG")
                           .convertToFormat(QImage::Format_RGB32);
  EXPECT_FALSE(image.isNull());
  width_ = image.width();
  height_ = image.height();
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) {
      const QRgb pixel = image.pixel(x, y);
      brightness_.push_back(
          static_cast<std::uint8_t>(std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)})));
    }
  }
  isHidden_.resize(brightness_.size());
}

void ShopPicture::expectHidden(const Properties& entry) {
  const Array& place = *entry.find("place")->asArray();
  const std::string what(*entry.find("what")->asString());
  const double scale = width_ / kWindowWidth;
  const int left = static_cast<int>(std::ceil(at(place, 0) * scale));
  const int top = static_cast<int>(std::ceil(at(place, 1) * scale));
  const int right = std::min(width_, static_cast<int>((at(place, 0) + at(place, 2)) * scale));
  const int bottom = std::min(height_, static_cast<int>((at(place, 1) + at(place, 3)) * scale));
  ASSERT_LT(left, right) << what;
  ASSERT_LT(top, bottom) << what;
  int brightest = 0, brightestWithin = 0;
  for (int y = std::max(0, top - kBlock); y < std::min(height_, bottom + kBlock); ++y) {
    for (int x = std::max(0, left - kBlock); x < std::min(width_, right + kBlock); ++x) {
      isHidden_[static_cast<std::size_t>(y * width_ + x)] = true;
      if (x < left || x >= right || y < top || y >= bottom) continue;
      brightest = std::max(brightest, brightness(x, y));
      const bool isWithin =
          x >= left + kBlock && x < right - kBlock && y >= top + kBlock && y < bottom - kBlock;
      if (isWithin) brightestWithin = std::max(brightestWithin, brightness(x, y));
    }
  }
  EXPECT_LT(brightest, kBlackAtEdges) << what;
  EXPECT_LT(brightestWithin, kBlack) << what;
}

void ShopPicture::expectRestToBeSeen() const {
  int seen = 0, black = 0;
  for (std::size_t i = 0; i < brightness_.size(); ++i) {
    if (isHidden_[i]) continue;
    ++seen;
    black += brightness_[i] < kBlack ? 1 : 0;
  }
  EXPECT_GT(seen, width_ * kBlock);
  // The ink of large letters, blurred.
  EXPECT_LT(black, seen / 200) << "more is covered than must be";
}

}  // namespace zarn::testing

#endif
