// A screenshot of the pocket shop as it arrived, decoded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zarn/value.h"

namespace zarn::testing {

class ShopPicture {
 public:
  /// Fails the test unless it is a picture.
  explicit ShopPicture(const std::string& jpeg);

  /// The whole place of an entry in the visitor's record is black.
  void expectHidden(const Properties& entry);
  /// Nothing else is: the shop has no black in it.
  void expectRestToBeSeen() const;

 private:
  /// How bright the brightest channel is.
  int brightness(int x, int y) const {
    return brightness_[static_cast<std::size_t>(y * width_ + x)];
  }

  int width_ = 0;
  int height_ = 0;
  std::vector<std::uint8_t> brightness_;
  std::vector<bool> isHidden_;
};

}  // namespace zarn::testing
