#include "tool/viewer/overview_cells.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace fmp4 {

namespace {

std::uint16_t rootOfMean(std::uint64_t squares, std::size_t count) {
  const double mean = count != 0 ? static_cast<double>(squares) / static_cast<double>(count) : 0;
  return static_cast<std::uint16_t>(std::lround(std::sqrt(mean)));
}

// Samples one after another, dealt to lanes in turn, so that processors take many at once.
template <std::size_t kLanes>
struct Lanes {
  // Of so many samples a lane the sums have room in 32 bits.
  static constexpr std::size_t kMostRounds = 1 << 16;

  std::array<std::int16_t, kLanes> lowest{}, highest{};
  std::array<std::uint32_t, kLanes> lowSquares{}, highSquares{};  // sums of the 16 lower and the upper bits

  void add(const std::int16_t* samples, std::size_t count) {
    for (std::size_t lane = 0; lane < count; ++lane) {
      const std::int16_t sample = samples[lane];
      lowest[lane] = std::min(lowest[lane], sample);
      highest[lane] = std::max(highest[lane], sample);
      const auto square = static_cast<std::uint32_t>(int{sample} * sample);
      lowSquares[lane] += square & 0xFFFF;
      highSquares[lane] += square >> 16;
    }
  }
};

using CellsOfFrames = std::array<AudioCell, kMaxOverviewChannels> (*)(const std::int16_t*, std::size_t);

template <std::size_t kChannels>
std::array<AudioCell, kMaxOverviewChannels> cellsOf(const std::int16_t* samples, std::size_t frames) {
  constexpr std::size_t kLanes = std::lcm(std::size_t{16}, kChannels);
  std::array<int, kChannels> peaks{};
  std::array<std::uint64_t, kChannels> squares{};
  for (std::size_t left = frames * kChannels; left != 0;) {
    Lanes<kLanes> lanes;
    for (std::size_t round = 0; round < lanes.kMostRounds && left >= kLanes; ++round) {
      lanes.add(samples, kLanes);
      samples += kLanes;
      left -= kLanes;
    }
    if (left < kLanes) lanes.add(samples, std::exchange(left, 0));
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      int& peak = peaks[lane % kChannels];
      peak = std::max({peak, int{lanes.highest[lane]}, -int{lanes.lowest[lane]}});
      squares[lane % kChannels] += lanes.lowSquares[lane] + (std::uint64_t{lanes.highSquares[lane]} << 16);
    }
  }
  std::array<AudioCell, kMaxOverviewChannels> cells;
  for (std::size_t i = 0; i < kChannels; ++i)
    cells[i] = {static_cast<std::uint16_t>(peaks[i]), rootOfMean(squares[i], frames)};
  return cells;
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

std::array<AudioCell, kMaxOverviewChannels> AudioCell::ofFrames(const std::int16_t* samples,
                                                                std::size_t frames, std::size_t channels) {
  constexpr std::array<CellsOfFrames, kMaxOverviewChannels> kByChannels = {
      cellsOf<1>, cellsOf<2>, cellsOf<3>, cellsOf<4>, cellsOf<5>, cellsOf<6>, cellsOf<7>, cellsOf<8>};
  return kByChannels.at(channels - 1)(samples, frames);
}

}  // namespace fmp4
