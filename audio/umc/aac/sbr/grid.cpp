#include "audio/umc/aac/sbr/grid.h"

#include <algorithm>

namespace UMC::aac {

namespace {

// Bits of bs_pointer by number of envelopes: ceil(log2(count + 1)).
constexpr unsigned kPointerBits[kMaxSbrEnvelopes + 1] = {0, 1, 2, 2, 3, 3};

// Envelopes of equal width. False for more than four.
bool ParseFixed(fmp4::BitWindow& stream, int slots, SbrGrid& grid) {
  const auto exponent = stream.Read(2);
  if (exponent > 2) return false;
  const int envelopes = 1 << exponent;
  grid.envelopes = static_cast<std::uint8_t>(envelopes);
  std::fill_n(grid.highResolution, envelopes, stream.ReadFlag());
  const int width = (2 * slots + envelopes) / (2 * envelopes);  // rounded
  for (int i = 0; i < envelopes; ++i) grid.borders[i] = static_cast<std::uint8_t>(i * width);
  grid.borders[envelopes] = static_cast<std::uint8_t>(slots);
  return true;
}

// A grid with at least one variable frame border. Returns bs_pointer.
int ParseVariable(fmp4::BitWindow& stream, int slots, SbrGrid& grid) {
  const bool leads = grid.frameClass != SbrFrameClass::kFixVar;
  const bool trails = grid.frameClass != SbrFrameClass::kVarFix;
  const auto first = static_cast<int>(leads ? stream.Read(2) : 0);
  const auto last = slots + static_cast<int>(trails ? stream.Read(2) : 0);
  const auto leading = static_cast<int>(leads ? stream.Read(2) : 0);
  const auto trailing = static_cast<int>(trails ? stream.Read(2) : 0);
  const int envelopes = leading + trailing + 1;
  grid.envelopes = static_cast<std::uint8_t>(envelopes);
  if (envelopes > kMaxSbrEnvelopes) return 0;
  // Borders before the frame are clamped to its start, and rejected later as not ascending.
  const auto next = [&] { return static_cast<int>(2 * stream.Read(2) + 2); };
  int border = first;
  grid.borders[0] = static_cast<std::uint8_t>(border);
  for (int i = 1; i <= leading; ++i) grid.borders[i] = static_cast<std::uint8_t>(border += next());
  border = last;
  grid.borders[envelopes] = static_cast<std::uint8_t>(border);
  for (int i = 1; i <= trailing; ++i) {
    border = std::max(border - next(), 0);
    grid.borders[envelopes - i] = static_cast<std::uint8_t>(border);
  }
  const auto pointer = static_cast<int>(stream.Read(kPointerBits[envelopes]));
  for (int i = 0; i < envelopes; ++i) {
    grid.highResolution[leads ? i : envelopes - 1 - i] = stream.ReadFlag();
  }
  return pointer;
}

// The border between two noise floors.
int MiddleBorder(const SbrGrid& grid, int pointer) {
  switch (grid.frameClass) {
    case SbrFrameClass::kFixFix:
      return grid.envelopes / 2;
    case SbrFrameClass::kVarFix:
      return pointer == 0 ? 1 : pointer == 1 ? grid.envelopes - 1 : pointer - 1;
    default:
      return pointer <= 1 ? grid.envelopes - 1 : grid.envelopes + 1 - pointer;
  }
}

int Transient(const SbrGrid& grid, int pointer) {
  switch (grid.frameClass) {
    case SbrFrameClass::kFixFix:
      return -1;
    case SbrFrameClass::kVarFix:
      return pointer <= 1 ? -1 : pointer - 1;
    default:
      return pointer == 0 ? -1 : grid.envelopes + 1 - pointer;
  }
}

}  // namespace

bool ParseSbrGrid(fmp4::BitWindow& stream, int slots, SbrGrid& grid) {
  grid.frameClass = static_cast<SbrFrameClass>(stream.Read(2));
  int pointer = 0;
  if (grid.frameClass == SbrFrameClass::kFixFix) {
    if (!ParseFixed(stream, slots, grid)) return false;
  } else {
    pointer = ParseVariable(stream, slots, grid);
  }
  if (grid.envelopes > kMaxSbrEnvelopes || pointer > grid.envelopes + 1) return false;
  for (int i = 0; i < grid.envelopes; ++i) {
    if (grid.borders[i] >= grid.borders[i + 1]) return false;
  }
  grid.transient = static_cast<std::int8_t>(Transient(grid, pointer));
  grid.noiseFloors = grid.envelopes > 1 ? 2 : 1;
  grid.noiseBorders[0] = grid.borders[0];
  grid.noiseBorders[1] = grid.borders[MiddleBorder(grid, pointer)];
  grid.noiseBorders[grid.noiseFloors] = grid.borders[grid.envelopes];
  return true;
}

}  // namespace UMC::aac
