#include "captions/caption_screen.h"

namespace fmp4::captions {

PictureShape pictureShapeOf(std::uint32_t width, std::uint32_t height) {
  // The geometric mean of both shapes: sqrt(4 / 3 * 16 / 9).
  constexpr double kBetween = 1.5396;
  if (width == 0 || height == 0) return PictureShape::Wide;
  return static_cast<double>(width) / height < kBetween ? PictureShape::Standard : PictureShape::Wide;
}

}  // namespace fmp4::captions
