#include "tool/export/styled_text.h"

namespace fmp4 {

namespace {

std::string escapedText(const std::string& text) {
  std::string result;
  for (const char character : text) {
    if (character == '&')
      result += "&amp;";
    else if (character == '<')
      result += "&lt;";
    else if (character == '>')
      result += "&gt;";
    else
      result += character;
  }
  return result;
}

}  // namespace

std::string markedText(const captions::TextRow& row, const TextMarkup& markup) {
  std::string result;
  for (const captions::TextRun& run : row.runs) {
    std::string text = markup.escaped ? escapedText(run.text) : run.text;
    if (run.style.underline) text = "<u>" + text + "</u>";
    if (run.style.italics) text = "<i>" + text + "</i>";
    if (const std::string start = markup.colourStart(run.style); !start.empty())
      text = start + text + std::string(markup.colourEnd);
    result += text;
  }
  return result;
}

captions::Colour nearestPlainColour(captions::Colour colour) {
  const auto plain = [](std::uint8_t level) { return static_cast<std::uint8_t>(level >= 2 ? 3 : 0); };
  return {plain(colour.red), plain(colour.green), plain(colour.blue)};
}

}  // namespace fmp4
