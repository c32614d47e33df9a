#include "tool/viewer/report_drawings.h"

#include <algorithm>

#include "base/number_text.h"

namespace fmp4 {

namespace {

constexpr double kWidth = 1600, kHeight = 160, kLaneHeight = 20;

std::string shortNumber(double value) {
  std::string text = fixedText(value, 1);
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text;
}

std::string drawing(double height, const std::string& label, const std::string& content) {
  return "<svg viewBox=\"0 0 " + shortNumber(kWidth) + ' ' + shortNumber(height) +
         "\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"" + htmlText(label) + "\">" + content +
         "</svg>\n";
}

std::string path(const char* kind, const std::string& data) {
  return data.empty() ? "" : std::string("<path class=\"") + kind + "\" d=\"" + data + "\"/>";
}

// A line from (x, top) to (x, bottom).
void addUpright(std::string& data, double x, double top, double bottom) {
  data += 'M' + shortNumber(x) + ' ' + shortNumber(top) + 'V' + shortNumber(bottom);
}

// Bits a second around each cell: of about a second, or of the cell where that is longer.
std::vector<double> bitRates(const std::vector<FrameCell>& cells, const FrameRate& rate) {
  const std::size_t framesACell = cells.empty() ? 1 : std::max(cells.front().frames, 1u);
  const auto reach = static_cast<std::size_t>(rate.value() / 2 / static_cast<double>(framesACell));
  std::vector<double> rates;
  std::uint64_t bytes = 0, frames = 0;
  for (std::size_t i = 0, first = 0, end = 0; i < cells.size(); ++i) {
    for (; end < std::min(cells.size(), i + reach + 1); ++end) {
      bytes += cells[end].bytes;
      frames += cells[end].frames;
    }
    for (; first + reach < i; ++first) {
      bytes -= cells[first].bytes;
      frames -= cells[first].frames;
    }
    rates.push_back(static_cast<double>(bytes) * 8 / static_cast<double>(std::max<std::uint64_t>(frames, 1)) *
                    rate.value());
  }
  return rates;
}

}  // namespace

std::size_t reportLevel(std::size_t count) {
  std::size_t level = 0;
  for (; count > kReportColumns; count = (count + kCellsMerged - 1) / kCellsMerged) ++level;
  return level;
}

std::string htmlText(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&')
      escaped += "&amp;";
    else if (c == '<')
      escaped += "&lt;";
    else if (c == '>')
      escaped += "&gt;";
    else if (c == '"')
      escaped += "&quot;";
    else
      escaped += c;
  }
  return escaped;
}

std::string bitRateDrawing(const std::vector<FrameCell>& cells, const FrameRate& rate,
                           const std::string& label) {
  std::uint32_t largest = 1;
  double fastest = 1;
  for (const FrameCell& cell : cells) largest = std::max(largest, cell.largest);
  const std::vector<double> rates = bitRates(cells, rate);
  for (const double bits : rates) fastest = std::max(fastest, bits);
  std::string bars, keys, line;
  const double step = kWidth / static_cast<double>(std::max<std::size_t>(cells.size(), 1));
  double x = step / 2;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const FrameCell& cell = cells[i];
    addUpright(cell.keys != 0 ? keys : bars, x, kHeight * (1 - static_cast<double>(cell.largest) / largest),
               kHeight);
    line +=
        (line.empty() ? 'M' : 'L') + shortNumber(x) + ' ' + shortNumber(kHeight * (1 - rates[i] / fastest));
    x += step;
  }
  return drawing(kHeight, label, path("bar", bars) + path("key", keys) + path("rate", line));
}

std::string waveFormDrawing(const std::vector<AudioCell>& cells, const std::string& label) {
  constexpr double kFullScale = 32768, kMiddle = kHeight / 2;
  std::string peaks, means;
  const double step = kWidth / static_cast<double>(std::max<std::size_t>(cells.size(), 1));
  double x = step / 2;
  for (const AudioCell& cell : cells) {
    const double peak = kMiddle * cell.peak / kFullScale, mean = kMiddle * cell.rms / kFullScale;
    if (cell.peak != 0) addUpright(peaks, x, kMiddle - peak, kMiddle + peak);
    if (cell.rms != 0) addUpright(means, x, kMiddle - mean, kMiddle + mean);
    x += step;
  }
  return drawing(kHeight, label, path("peak", peaks) + path("mean", means));
}

std::string partsDrawing(const std::vector<DrawnPart>& parts, double whole, const std::string& label) {
  std::string data;
  const double scale = whole > 0 ? kWidth / whole : 0;
  for (const DrawnPart& part : parts) {
    // Half a unit is seen.
    const double width = std::max((part.end - part.first) * scale, 0.5);
    data += 'M' + shortNumber(part.first * scale) + " 0h" + shortNumber(width) + 'v' +
            shortNumber(kLaneHeight) + "h-" + shortNumber(width) + 'z';
  }
  return drawing(kLaneHeight, label, path("part", data));
}

}  // namespace fmp4
