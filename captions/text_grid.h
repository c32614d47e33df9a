// Places rows of a character grid on the picture.
#pragma once

#include <optional>

#include "captions/caption.h"

namespace fmp4::captions {

// A grid of characters; places and sizes in percent of the picture.
struct TextGrid {
  unsigned window = 0;
  double top = 0;
  double left = 0;
  unsigned columns = 0;
  double columnWidth = 0;
  // How all rows are aligned; nothing: as their columns say.
  std::optional<Alignment> alignment = {};
};

// Adds a row of text below those of its grid that are there: to the block above it where the two are adjacent
// and aligned with each other, else as a block of its own.
void addRow(Caption& caption, const TextGrid& grid, TextRow row);

}  // namespace fmp4::captions
