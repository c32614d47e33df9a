#include "tool/terminal/messages.h"

#include <cstdlib>
#include <iostream>

#include "tool/terminal/console.h"

namespace fmp4 {

namespace {

// Select graphic rendition (ECMA-48, 8.3.117).
constexpr const char* kRed = "\x1B[1;31m";
constexpr const char* kYellow = "\x1B[1;33m";
constexpr const char* kPlain = "\x1B[0m";

bool colourByDefault() {
  const char* const none = std::getenv("NO_COLOR");
  return (none == nullptr || *none == '\0') && showsColour(2);
}

bool& coloured() {
  static bool value = colourByDefault();
  return value;
}

std::string painted(const std::string& text, const char* colour) {
  return coloured() ? colour + text + kPlain : text;
}

}  // namespace

void setColour(ColourUse colour) {
  coloured() = colour == ColourUse::Auto ? colourByDefault() : colour == ColourUse::Always;
}

void say(const std::string& text) {
  std::cerr << "fmp4: " << text << '\n';
}

void warn(const std::string& text) {
  std::cerr << "fmp4: " << painted("warning:", kYellow) << ' ' << text << '\n';
}

void sayFailure(const std::string& text) {
  std::cerr << painted("fmp4:", kRed) << ' ' << text << '\n';
}

}  // namespace fmp4
