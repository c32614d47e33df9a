// A caption window of CEA-708 (CTA-708-E, 8.4) with its text and pen.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "captions/caption.h"
#include "captions/caption_screen.h"

namespace fmp4::captions {

// The parameters of DefineWindow.
struct Cea708Definition {
  bool visible = false;
  unsigned priority = 0;        // 0 to 7; 0 is above all others
  bool relative = false;        // the anchor is in percent of the safe title area
  unsigned anchorVertical = 0;  // else in 75ths and 210ths of it
  unsigned anchorHorizontal = 0;
  unsigned anchorPoint = 0;  // 0 to 8: which point of the window is there, row by row from the top left
  unsigned rows = 1;         // 1 to 16
  unsigned columns = 1;      // 1 to 64
};

// The attributes of SetWindowAttributes that a window keeps.
struct Cea708Attributes {
  Alignment alignment = Alignment::Left;
  bool wordWrap = false;
  Colour fill = kBlack;
  Opacity fillOpacity = Opacity::Solid;
  Edge border = Edge::None;
  Colour borderColour = kBlack;
};

// Of the directions, those of the minimum decoder are supported: text from left to right, scrolled upwards.
class Cea708Window {
 public:
  // The predefined styles are 1 to 7; 0 chooses the first for a new window.
  Cea708Window(const Cea708Definition& definition, unsigned windowStyle, unsigned penStyle);

  // Defines the window anew, its text and the position of its pen kept. Style 0 keeps the attributes.
  void redefine(const Cea708Definition& definition, unsigned windowStyle, unsigned penStyle);

  bool visible() const { return definition_.visible; }
  void setVisible(bool visible) { definition_.visible = visible; }

  unsigned priority() const { return definition_.priority; }

  void setAttributes(const Cea708Attributes& attributes) { attributes_ = attributes; }
  TextStyle& pen() { return pen_; }
  TextShape& penShape() { return penShape_; }
  // Positions beyond the window are its last.
  void movePen(unsigned row, unsigned column);

  // Writes at the pen; 0 is a transparent space. Text past the end of a row is dropped unless words wrap.
  void write(char16_t character);
  void backspace();
  void carriageReturn();
  // Moves the pen to the beginning of its row and erases the row.
  void horizontalCarriageReturn();
  void clear();
  // Clears, and moves the pen to the top left.
  void formFeed();

  // Adds the text of window `number`.
  void addTo(Caption& caption, unsigned number) const;
  // The window as it is drawn on a picture of this shape.
  CaptionRegion region(unsigned number, PictureShape shape) const;

 private:
  // Where the window begins, and the width of its columns, in percent of the picture.
  struct Place {
    double top, left, columnWidth;
  };

  Cell* row(unsigned index) { return cells_.data() + std::size_t{index} * definition_.columns; }
  const Cell* row(unsigned index) const { return cells_.data() + std::size_t{index} * definition_.columns; }
  void setStyles(unsigned windowStyle, unsigned penStyle);
  Place placeOn(PictureShape shape) const;
  void wrap();

  Cea708Definition definition_;
  std::vector<Cell> cells_;  // row by row
  Cea708Attributes attributes_;
  TextStyle pen_;
  TextShape penShape_;
  unsigned penRow_ = 0;
  unsigned penColumn_ = 0;  // the number of columns: after the last
};

}  // namespace fmp4::captions
