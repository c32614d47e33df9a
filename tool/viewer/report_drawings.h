// The drawings of a report as SVG elements, in a page without outside references.
#pragma once

#include <string>
#include <vector>

#include "tool/viewer/overview.h"

namespace fmp4 {

// Columns of a drawing at most, whatever the length of the file.
inline constexpr std::size_t kReportColumns = 1600;

// The first level whose cells fit into a drawing, of `count` finest ones.
std::size_t reportLevel(std::size_t count);

// Text with the characters escaped that HTML gives a meaning.
std::string htmlText(const std::string& text);

// Bars of the largest frame of each cell, key frames marked, and the bit rate as a line. `label`: for screen
// readers.
std::string bitRateDrawing(const std::vector<FrameCell>& cells, const FrameRate& rate,
                           const std::string& label);
// The peak and the root mean square of a channel.
std::string waveFormDrawing(const std::vector<AudioCell>& cells, const std::string& label);
// Where the parts [first, end) of a whole are.
struct DrawnPart {
  double first = 0, end = 0;
};
std::string partsDrawing(const std::vector<DrawnPart>& parts, double whole, const std::string& label);

}  // namespace fmp4
