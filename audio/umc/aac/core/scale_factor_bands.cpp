#include "audio/umc/aac/core/scale_factor_bands.h"

#include <array>
#include <cstddef>

namespace UMC::aac {

namespace {

struct Offsets {
  int count;  // number of bands
  std::uint16_t values[kMaxBands + 1];
};

// swb_offset_long_window for windows of 2048 samples (ISO/IEC 14496-3, tables 4.129 to 4.141); windows of
// 1920 samples have the same bands up to line 960.
constexpr Offsets kLong[] = {
    // 96 and 88.2 kHz
    {41, {0,   4,   8,   12,  16,  20,  24,  28,  32,  36,  40,  44,  48,  52,
          56,  64,  72,  80,  88,  96,  108, 120, 132, 144, 156, 172, 188, 212,
          240, 276, 320, 384, 448, 512, 576, 640, 704, 768, 832, 896, 960, 1024}},
    // 64 kHz
    {47, {0,   4,   8,   12,  16,  20,  24,  28,  32,  36,  40,  44,  48,  52,  56,  64,
          72,  80,  88,  100, 112, 124, 140, 156, 172, 192, 216, 240, 268, 304, 344, 384,
          424, 464, 504, 544, 584, 624, 664, 704, 744, 784, 824, 864, 904, 944, 984, 1024}},
    // 48 and 44.1 kHz
    {49, {0,   4,   8,   12,  16,  20,  24,  28,  32,  36,  40,  48,  56,  64,  72,  80,  88,
          96,  108, 120, 132, 144, 160, 176, 196, 216, 240, 264, 292, 320, 352, 384, 416, 448,
          480, 512, 544, 576, 608, 640, 672, 704, 736, 768, 800, 832, 864, 896, 928, 1024}},
    // 32 kHz
    {51, {0,   4,   8,   12,  16,  20,  24,  28,  32,  36,  40,  48,  56,  64,  72,  80,  88,  96,
          108, 120, 132, 144, 160, 176, 196, 216, 240, 264, 292, 320, 352, 384, 416, 448, 480, 512,
          544, 576, 608, 640, 672, 704, 736, 768, 800, 832, 864, 896, 928, 960, 992, 1024}},
    // 24 and 22.05 kHz
    {47, {0,   4,   8,   12,  16,  20,  24,  28,  32,  36,  40,  44,  52,  60,  68,  76,
          84,  92,  100, 108, 116, 124, 136, 148, 160, 172, 188, 204, 220, 240, 260, 284,
          308, 336, 364, 396, 432, 468, 508, 552, 600, 652, 704, 768, 832, 896, 960, 1024}},
    // 16, 12 and 11.025 kHz
    {43, {0,   8,   16,  24,  32,  40,  48,  56,  64,  72,  80,  88,  100, 112, 124,
          136, 148, 160, 172, 184, 196, 212, 228, 244, 260, 280, 300, 320, 344, 368,
          396, 424, 456, 492, 532, 572, 616, 664, 716, 772, 832, 896, 960, 1024}},
    // 8 and 7.35 kHz
    {40,
     {0,   12,  24,  36,  48,  60,  72,  84,  96,  108, 120, 132, 144, 156, 172, 188, 204, 220, 236, 252, 268,
      288, 308, 328, 348, 372, 396, 420, 448, 476, 508, 544, 580, 620, 664, 712, 764, 820, 880, 944, 1024}},
};

// swb_offset_short_window for windows of 256 samples; windows of 240 samples have the same bands up to line
// 120.
constexpr Offsets kShort[] = {
    // 96, 88.2 and 64 kHz
    {12, {0, 4, 8, 12, 16, 20, 24, 32, 40, 48, 64, 92, 128}},
    // 48, 44.1 and 32 kHz
    {14, {0, 4, 8, 12, 16, 20, 28, 36, 44, 56, 68, 80, 96, 112, 128}},
    // 24 and 22.05 kHz
    {15, {0, 4, 8, 12, 16, 20, 24, 28, 36, 44, 52, 64, 76, 92, 108, 128}},
    // 16, 12 and 11.025 kHz
    {15, {0, 4, 8, 12, 16, 20, 24, 28, 32, 40, 48, 60, 72, 88, 108, 128}},
    // 8 and 7.35 kHz
    {15, {0, 4, 8, 12, 16, 20, 24, 28, 36, 44, 52, 60, 72, 88, 108, 128}},
};

// By sampling frequency index: the rows above, TNS_MAX_BANDS of the object types Main, LC and LTP (ISO/IEC
// 14496-3, 4.6.9.3), and PRED_SFB_MAX (4.6.7.2).
struct IndexRow {
  int longOffsets, shortOffsets, tnsLong, tnsShort, prediction;
};
constexpr IndexRow kIndexRows[kSamplingIndexCount] = {
    {0, 0, 31, 9, 33},  {0, 0, 31, 9, 33},  {1, 0, 34, 10, 38}, {2, 1, 40, 14, 40}, {2, 1, 42, 14, 40},
    {3, 1, 51, 14, 40}, {4, 2, 46, 14, 41}, {4, 2, 46, 14, 41}, {5, 3, 42, 14, 37}, {5, 3, 42, 14, 37},
    {5, 3, 42, 14, 37}, {6, 4, 39, 14, 34}, {6, 4, 39, 14, 34}};

constexpr BandTable CutAt(const Offsets& offsets, int lines, int tnsBands) {
  BandTable table;
  table.tnsBands = tnsBands;
  while (offsets.values[table.bands] < lines) {
    table.offsets[table.bands] = offsets.values[table.bands];
    ++table.bands;
  }
  table.offsets[table.bands] = static_cast<std::uint16_t>(lines);
  return table;
}

using IndexedBands = std::array<FrameBands, kSamplingIndexCount>;

constexpr IndexedBands MakeBands(int frameLength) {
  IndexedBands bands{};
  for (std::size_t i = 0; i < bands.size(); ++i) {
    const IndexRow& row = kIndexRows[i];
    bands[i].longWindow = CutAt(kLong[row.longOffsets], frameLength, row.tnsLong);
    bands[i].longWindow.predictionBands = row.prediction;
    bands[i].shortWindow = CutAt(kShort[row.shortOffsets], frameLength / 8, row.tnsShort);
  }
  return bands;
}

constexpr IndexedBands kBands1024 = MakeBands(1024);
constexpr IndexedBands kBands960 = MakeBands(960);

constexpr bool CountsAgree() {
  for (std::size_t i = 0; i < kBands1024.size(); ++i) {
    if (kBands1024[i].longWindow.bands != kLong[kIndexRows[i].longOffsets].count) return false;
    if (kBands1024[i].shortWindow.bands != kShort[kIndexRows[i].shortOffsets].count) return false;
  }
  return true;
}
static_assert(CountsAgree());

}  // namespace

const FrameBands& BandsOf(int samplingIndex, int frameLength) {
  return (frameLength == 960 ? kBands960 : kBands1024)[static_cast<std::size_t>(samplingIndex)];
}

}  // namespace UMC::aac
