// Decodes one caption channel of CEA-608 (ANSI/CTA-608-E; 47 CFR 79.101): byte pairs in, a screen out.
#pragma once

#include <array>
#include <cstdint>

#include "captions/caption.h"
#include "captions/caption_screen.h"

namespace fmp4::captions {

// CC1 and CC2 are in the pairs of field 1, CC3 and CC4 in those of field 2.
enum class Cea608Channel : std::uint8_t { CC1, CC2, CC3, CC4 };

inline constexpr unsigned kCea608Rows = 15;
inline constexpr unsigned kCea608Columns = 32;
using Cea608Screen = std::array<std::array<Cell, kCea608Columns>, kCea608Rows>;

class Cea608Decoder {
 public:
  explicit Cea608Decoder(Cea608Channel channel) : channel_(channel) {}

  // Takes the next pair of the channel's field, with parity. Any bytes are safe.
  void push(std::uint8_t first, std::uint8_t second);

  const Cea608Screen& screen() const { return displayed_; }
  // Whether the screen may have changed since this was last asked.
  bool takeChanged();
  // The screen as rows of text.
  Caption caption() const;
  // The screen as one region; none when no position has a character.
  CaptionScreen captionScreen() const;

 private:
  // None: no caption has begun, or characters belong to a text channel.
  using Mode = CaptionMode;

  bool isRepeat(std::uint8_t first, std::uint8_t second, bool validFirst);
  void pushCharacters(std::uint8_t first, std::uint8_t second);
  void control(std::uint8_t high, std::uint8_t low);
  void miscellaneous(std::uint8_t low);
  void preamble(std::uint8_t high, std::uint8_t low);
  void midRow(std::uint8_t low);
  void background(std::uint8_t high, std::uint8_t low);
  void extended(std::uint8_t high, std::uint8_t low);

  Cea608Screen& memory();
  void setMode(Mode mode);
  void rollUp(unsigned rows);
  void carriageReturn();
  void moveWindow(unsigned baseRow);
  void write(char16_t character);
  void backspace();
  void deleteToEnd();
  void tab(unsigned columns);

  Cea608Channel channel_;
  Mode mode_ = Mode::None;
  bool selected_ = false;  // characters are of this data channel
  bool text_ = false;      // of its text channel
  bool changed_ = false;
  unsigned rollRows_ = 2;
  unsigned row_ = kCea608Rows - 1;
  unsigned column_ = 0;  // kCea608Columns: after the last
  TextStyle style_;
  Cea608Screen displayed_ = {};
  Cea608Screen hidden_ = {};

  std::array<std::uint8_t, 2> lastControl_ = {};  // that a repetition would double; 0: none
  unsigned nullPairs_ = 0;                        // since then
};

}  // namespace fmp4::captions
