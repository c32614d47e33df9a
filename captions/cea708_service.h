// Decodes one caption service of CEA-708 (CTA-708-E, 7 and 8): its codes in, windows of text out.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "captions/caption.h"
#include "captions/cea708_window.h"

namespace fmp4::captions {

class Cea708Service {
 public:
  // Delays are in frames of this rate.
  explicit Cea708Service(double framesPerSecond) : framesPerSecond_(framesPerSecond) {}

  // Takes the bytes of a service block in frame `frame`. Any bytes are safe; a code may continue in the next
  // block.
  void push(std::int64_t frame, std::span<const std::uint8_t> bytes);
  // Ends a delay whose time has come; call it for every frame.
  void advance(std::int64_t frame);
  // Deletes all windows and what waits.
  void reset();

  // Whether the windows may have changed since this was last asked.
  bool takeChanged();
  // The text of the visible windows, from the top down.
  Caption caption() const;
  // The visible windows on a picture of this shape.
  CaptionScreen screen(PictureShape shape) const;

 private:
  static constexpr unsigned kWindows = 8;

  void decode(std::int64_t frame);
  void endDelayEarly();
  void execute(std::int64_t frame, std::span<const std::uint8_t> code);
  void command(std::int64_t frame, std::span<const std::uint8_t> code);
  void control(std::uint8_t code);
  void defineWindow(unsigned number, std::span<const std::uint8_t> parameters);
  void changeWindows(std::uint8_t code, unsigned mask);
  void changeCurrent(std::span<const std::uint8_t> code);
  void write(char16_t character);
  Cea708Window* current();

  double framesPerSecond_;
  std::array<std::optional<Cea708Window>, kWindows> windows_;
  std::optional<unsigned> current_;
  bool changed_ = false;
  std::vector<std::uint8_t> waiting_;   // codes that are incomplete or delayed
  std::optional<std::int64_t> resume_;  // the frame in which a delay ends
};

}  // namespace fmp4::captions
