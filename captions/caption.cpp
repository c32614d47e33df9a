#include "captions/caption.h"

namespace fmp4::captions {

namespace {

bool isVisible(const Cell& cell) {
  return cell.character != 0 && cell.character != u' ' && cell.character != u'\u00a0';
}

}  // namespace

std::string TextRow::text() const {
  std::string all;
  for (const TextRun& run : runs) all += run.text;
  return all;
}

TextRow textRowOf(const Cell* cells, unsigned count, unsigned row) {
  TextRow result{row, 0, 0, {}};
  unsigned begin = 0, end = count;
  while (begin < end && !isVisible(cells[begin])) ++begin;
  while (end > begin && !isVisible(cells[end - 1])) --end;
  if (begin == end) return result;
  result.column = begin;
  result.width = end - begin;
  for (unsigned i = begin; i < end; ++i) {
    // Positions without a character take the style before them.
    const bool sameStyle =
        !result.runs.empty() && (cells[i].character == 0 || cells[i].style == result.runs.back().style);
    if (!sameStyle) result.runs.push_back({"", cells[i].style});
    appendUtf8(result.runs.back().text, cells[i].character == 0 ? u' ' : cells[i].character);
  }
  return result;
}

void appendUtf8(std::string& text, char16_t character) {
  const unsigned code = character >= 0xD800 && character <= 0xDFFF ? unsigned{'_'} : unsigned{character};
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | code >> 6);
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    text += static_cast<char>(0xE0 | code >> 12);
    text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
}

}  // namespace fmp4::captions
