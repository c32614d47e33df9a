#include "tool/viewer/overview_cells.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace fmp4 {

namespace {

std::uint16_t rootOfMean(std::uint64_t squares, std::size_t count) {
  const double mean = count != 0 ? static_cast<double>(squares) / static_cast<double>(count) : 0;
  return static_cast<std::uint16_t>(std::lround(std::sqrt(mean)));
}

}  // namespace

FrameCell FrameCell::of(const FrameValue& value) {
  const auto one = [&value](std::uint32_t flag) { return value.has(flag) ? 1u : 0u; };
  return {value.bytes(),
          value.bytes(),
          1,
          one(FrameValue::kKey),
          one(FrameValue::kFragment),
          one(FrameValue::kSegment),
          one(FrameValue::kUnread)};
}

FrameCell FrameCell::merged(std::span<const FrameCell> cells) {
  FrameCell sum;
  for (const FrameCell& cell : cells) {
    sum.bytes += cell.bytes;
    sum.largest = std::max(sum.largest, cell.largest);
    sum.frames += cell.frames;
    sum.keys += cell.keys;
    sum.fragments += cell.fragments;
    sum.segments += cell.segments;
    sum.unread += cell.unread;
  }
  return sum;
}

AudioCell AudioCell::merged(std::span<const AudioCell> cells) {
  AudioCell result;
  std::uint64_t squares = 0;
  for (const AudioCell& cell : cells) {
    result.peak = std::max(result.peak, cell.peak);
    squares += std::uint64_t{cell.rms} * cell.rms;
  }
  result.rms = rootOfMean(squares, cells.size());
  return result;
}

AudioCell AudioCell::ofSamples(const std::int16_t* samples, std::size_t count, std::size_t step) {
  int peak = 0;
  std::uint64_t squares = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const int magnitude = std::abs(int{samples[i * step]});
    peak = std::max(peak, magnitude);
    squares += static_cast<std::uint64_t>(magnitude) * static_cast<std::uint64_t>(magnitude);
  }
  return {static_cast<std::uint16_t>(peak), rootOfMean(squares, count)};
}

}  // namespace fmp4
