// Styled rows as text with elements, for the formats that mark text as HTML does.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "captions/caption.h"

namespace fmp4 {

// How one format marks text.
struct TextMarkup {
  // The start and the end of an element for a run's colours; empty when it has the usual ones.
  std::function<std::string(const captions::TextStyle&)> colourStart;
  std::string_view colourEnd;
  bool escaped;  // "&", "<" and ">" are escaped
};

// A row with the elements of its styles, without line end.
std::string markedText(const captions::TextRow& row, const TextMarkup& markup);

// A colour as one of the eight of CEA-608.
captions::Colour nearestPlainColour(captions::Colour colour);

}  // namespace fmp4
