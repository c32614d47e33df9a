#include "captions/cea608_decoder.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "captions/cea608_characters.h"
#include "captions/text_grid.h"

namespace fmp4::captions {

namespace {

constexpr Colour kColours[] = {kWhite, {0, 3, 0}, {0, 0, 3}, {0, 3, 3}, {3, 0, 0}, {3, 3, 0}, {3, 0, 3}};

// Where a null pair may separate the two of a doubled code: at 50 frames a second and more.
constexpr unsigned kMaxNullsBetween = 1;

bool hasOddParity(std::uint8_t byte) {
  return std::popcount(byte) % 2 == 1;
}

}  // namespace

bool Cea608Decoder::takeChanged() {
  return std::exchange(changed_, false);
}

Caption Cea608Decoder::caption() const {
  static constexpr TextGrid kGrid = {0, kSafeStart, kSafeStart, kCea608Columns, kSafeExtent / kCea608Columns};
  Caption caption;
  for (unsigned i = 0; i < kCea608Rows; ++i)
    if (TextRow row = textRowOf(displayed_[i].data(), kCea608Columns, i); !row.runs.empty())
      addRow(caption, kGrid, std::move(row));
  return caption;
}

CaptionScreen Cea608Decoder::captionScreen() const {
  CaptionRegion region;
  region.top = region.left = kSafeStart;
  region.width = region.height = kSafeExtent;
  region.rows = kCea608Rows;
  region.columns = kCea608Columns;
  bool any = false;
  for (const auto& row : displayed_) {
    region.cells.insert(region.cells.end(), row.begin(), row.end());
    any = any || std::any_of(row.begin(), row.end(), [](const Cell& cell) { return cell.character != 0; });
  }
  if (!any) return {};
  return {mode_, {std::move(region)}};
}

void Cea608Decoder::push(std::uint8_t first, std::uint8_t second) {
  const std::uint8_t high = first & 0x7F, low = second & 0x7F;
  if (high == 0 && low == 0) {
    ++nullPairs_;
    return;
  }
  const bool validFirst = hasOddParity(first), validSecond = hasOddParity(second);
  if (isRepeat(high, low, validFirst)) return;
  lastControl_ = {};
  nullPairs_ = 0;
  if (validFirst && high >= 0x01 && high < 0x10) {
    // Extended data services in field 2; a control code ends them.
    selected_ = false;
  } else if (validFirst && high >= 0x10 && high < 0x20) {
    if (!validSecond || low < 0x20) return;
    lastControl_ = {high, low};
    control(high, low);
  } else {
    pushCharacters(validFirst ? high : 0x7F, validSecond ? low : 0x7F);
  }
}

// Control codes are sent twice, in consecutive frames, and act once. A damaged first byte of the second
// transmission is forgiven.
bool Cea608Decoder::isRepeat(std::uint8_t first, std::uint8_t second, bool validFirst) {
  if (lastControl_[0] == 0 || nullPairs_ > kMaxNullsBetween || second != lastControl_[1]) return false;
  if (validFirst && first != lastControl_[0]) return false;
  lastControl_ = {};
  return true;
}

void Cea608Decoder::pushCharacters(std::uint8_t first, std::uint8_t second) {
  if (!selected_ || text_ || mode_ == Mode::None) return;
  if (first >= 0x20) write(basicCharacter(first));
  if (second >= 0x20) write(basicCharacter(second));
}

void Cea608Decoder::control(std::uint8_t high, std::uint8_t low) {
  const bool secondChannel = channel_ == Cea608Channel::CC2 || channel_ == Cea608Channel::CC4;
  selected_ = ((high & 0x08) != 0) == secondChannel;
  if (!selected_) return;
  high &= 0x17;
  // The miscellaneous codes of field 2 begin with 0x15; some encoders use those of field 1 there, and the
  // reverse does no harm.
  if ((high == 0x14 || high == 0x15) && low < 0x30) return miscellaneous(low);
  if (text_ || mode_ == Mode::None) return;
  if (low >= 0x40) return preamble(high, low);
  if (high == 0x11 && low < 0x30) return midRow(low);
  if (high == 0x11) return write(specialCharacter(low));
  if (high == 0x12 || high == 0x13) return extended(high, low);
  if (high == 0x17 && low >= 0x21 && low <= 0x23) return tab(low - 0x20u);
  if (low < 0x30 && (high == 0x10 || (high == 0x17 && low >= 0x2D))) background(high, low);
}

void Cea608Decoder::miscellaneous(std::uint8_t low) {
  switch (low) {
    case 0x20:  // resume caption loading
      return setMode(Mode::PopOn);
    case 0x25:  // roll-up captions, 2 to 4 rows
    case 0x26:
    case 0x27:
      return rollUp(low - 0x23u);
    case 0x29:  // resume direct captioning
      return setMode(Mode::PaintOn);
    case 0x2A:  // text restart
    case 0x2B:  // resume text display
      text_ = true;
      return;
    case 0x2C:  // erase displayed memory
      displayed_ = {};
      changed_ = true;
      return;
    case 0x2E:  // erase non-displayed memory
      hidden_ = {};
      return;
    case 0x2F:  // end of caption
      std::swap(displayed_, hidden_);
      changed_ = true;
      return setMode(Mode::PopOn);
    default:
      break;
  }
  if (text_ || mode_ == Mode::None) return;
  if (low == 0x21) backspace();
  if (low == 0x24) deleteToEnd();
  if (low == 0x2D) carriageReturn();
  if (low == 0x28) {  // flash on; it occupies a position
    style_.foregroundOpacity = Opacity::Flash;
    write(u' ');
  }
}

Cea608Screen& Cea608Decoder::memory() {
  return mode_ == Mode::PopOn ? hidden_ : displayed_;
}

void Cea608Decoder::setMode(Mode mode) {
  mode_ = mode;
  text_ = false;
}

void Cea608Decoder::rollUp(unsigned rows) {
  if (mode_ != Mode::RollUp) {
    displayed_ = hidden_ = {};
    changed_ = true;
    row_ = kCea608Rows - 1;
    column_ = 0;
    style_ = {};
  }
  setMode(Mode::RollUp);
  rollRows_ = rows;
  row_ = std::max(row_, rollRows_ - 1);
  // A smaller window loses the rows above it.
  for (unsigned i = 0; i + rollRows_ <= row_; ++i) displayed_[i] = {};
  changed_ = true;
}

void Cea608Decoder::carriageReturn() {
  if (mode_ != Mode::RollUp) return;
  const unsigned top = row_ + 1 - rollRows_;
  for (unsigned i = top; i < row_; ++i) displayed_[i] = displayed_[i + 1];
  for (unsigned i = 0; i < top; ++i) displayed_[i] = {};
  displayed_[row_] = {};
  column_ = 0;
  style_ = {};
  changed_ = true;
}

// The rows of a roll-up caption move with their base row, which leaves room for all of them above it.
void Cea608Decoder::moveWindow(unsigned baseRow) {
  baseRow = std::max(baseRow, rollRows_ - 1);
  if (baseRow == row_) return;
  Cea608Screen moved = {};
  for (unsigned i = 0; i < rollRows_; ++i) moved[baseRow - i] = displayed_[row_ - i];
  displayed_ = moved;
  row_ = baseRow;
  changed_ = true;
}

// Preamble address code: row, and column or colour.
void Cea608Decoder::preamble(std::uint8_t high, std::uint8_t low) {
  static constexpr std::uint8_t kRows[] = {11, 11, 1, 2, 3, 4, 12, 13, 14, 15, 5, 6, 7, 8, 9, 10};
  if (high == 0x10 && low >= 0x60) return;  // not assigned
  const unsigned row = kRows[(high & 7) << 1 | (low >> 5 & 1)] - 1u;
  if (mode_ == Mode::RollUp)
    moveWindow(row);
  else
    row_ = row;
  style_ = {};
  style_.underline = (low & 1) != 0;
  column_ = 0;
  const unsigned attribute = low >> 1 & 0x0F;
  if (attribute >= 8)
    column_ = (attribute - 8) * 4;
  else if (attribute == 7)
    style_.italics = true;
  else
    style_.foreground = kColours[attribute];
}

// A mid-row code occupies a position. Italics keep the colour; a colour ends italics.
void Cea608Decoder::midRow(std::uint8_t low) {
  const unsigned attribute = low >> 1 & 7;
  style_.underline = (low & 1) != 0;
  style_.foregroundOpacity = Opacity::Solid;
  style_.italics = attribute == 7;
  if (attribute != 7) style_.foreground = kColours[attribute];
  write(u' ');
}

// Attributes of the background take the place of the space sent before them, for decoders that lack them.
void Cea608Decoder::background(std::uint8_t high, std::uint8_t low) {
  backspace();
  if (high == 0x10) {
    const unsigned colour = low >> 1 & 7;
    style_.background = colour == 7 ? kBlack : kColours[colour];
    style_.backgroundOpacity = (low & 1) != 0 ? Opacity::Translucent : Opacity::Solid;
  } else if (low == 0x2D) {
    style_.backgroundOpacity = Opacity::Transparent;
  } else {
    style_.foreground = kBlack;
    style_.underline = (low & 1) != 0;
    style_.italics = false;
  }
  write(u' ');
}

// An extended character takes the place of the basic one sent before it, for decoders that lack it.
void Cea608Decoder::extended(std::uint8_t high, std::uint8_t low) {
  backspace();
  write(extendedCharacter(high, low));
}

void Cea608Decoder::write(char16_t character) {
  memory()[row_][std::min(column_, kCea608Columns - 1)] = {character, style_};
  column_ = std::min(column_ + 1, kCea608Columns);
  changed_ = changed_ || mode_ != Mode::PopOn;
}

void Cea608Decoder::backspace() {
  if (column_ == 0) return;
  memory()[row_][--column_] = {};
  changed_ = changed_ || mode_ != Mode::PopOn;
}

void Cea608Decoder::deleteToEnd() {
  for (unsigned i = column_; i < kCea608Columns; ++i) memory()[row_][i] = {};
  changed_ = changed_ || mode_ != Mode::PopOn;
}

void Cea608Decoder::tab(unsigned columns) {
  column_ = std::min(column_ + columns, kCea608Columns - 1);
}

}  // namespace fmp4::captions
