// What a caption channel shows on the picture at one moment, with all that drawing it takes.
#pragma once

#include <cstdint>
#include <vector>

#include "captions/caption.h"

namespace fmp4::captions {

// 16:9 and 4:3, whose grids of CTA-708-E differ in their columns.
enum class PictureShape : std::uint8_t { Wide, Standard };

// The nearer of the two; Wide when a side is 0. In square pixels.
PictureShape pictureShapeOf(std::uint32_t width, std::uint32_t height);

// How text of CEA-608 comes to the screen.
enum class CaptionMode : std::uint8_t { None, PopOn, PaintOn, RollUp };

// A rectangle of characters: the screen of CEA-608, or a visible window of CEA-708.
struct CaptionRegion {
  unsigned window = 0;  // CEA-708: 0 to 7
  // Of the picture, in percent; inside it.
  double top = 0;
  double left = 0;
  double width = 0;
  double height = 0;
  unsigned rows = 1;
  unsigned columns = 1;
  Alignment alignment = Alignment::Left;
  Colour fill = kBlack;
  Opacity fillOpacity = Opacity::Transparent;
  Edge border = Edge::None;
  Colour borderColour = kBlack;
  std::vector<Cell> cells;  // rows * columns, row by row
  bool operator==(const CaptionRegion&) const = default;
};

struct CaptionScreen {
  CaptionMode mode = CaptionMode::None;  // of CEA-608
  std::vector<CaptionRegion> regions;    // in the order in which they are drawn, the last above all others
  bool operator==(const CaptionScreen&) const = default;

  bool empty() const { return regions.empty(); }
};

}  // namespace fmp4::captions
