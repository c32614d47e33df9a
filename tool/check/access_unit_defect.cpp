#include "tool/check/access_unit_defect.h"

#include <algorithm>
#include <vector>

#include "base/bit_window.h"

namespace fmp4 {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kForbiddenBit = 0x80, kTypeMask = 0x1F;
constexpr std::uint8_t kSlice = 1, kDataPartitionA = 2, kIdrSlice = 5;

// Limits of a slice header's first numbers (ISO/IEC 14496-10, 7.4.3; macroblocks of level 6.2, table A-1).
constexpr std::uint32_t kMaxMacroblocks = 139264, kMaxSliceType = 9, kMaxParameterSet = 255;

bool isSlice(std::uint8_t type) {
  return type == kSlice || type == kDataPartitionA || type == kIdrSlice;
}

// Whether a NAL unit has a pattern that emulation prevention excludes (ISO/IEC 14496-10, 7.4.1). Zero bytes
// at its end are common, although they belong after it.
bool hasForbiddenPattern(Bytes unit) {
  while (!unit.empty() && unit.back() == 0) unit = unit.first(unit.size() - 1);
  for (std::size_t i = 2; i < unit.size(); ++i) {
    if (unit[i] > 3) {
      i += 2;  // no pattern reaches over it
      continue;
    }
    if (unit[i - 1] != 0 || unit[i - 2] != 0) continue;
    if (unit[i] < 3 || (i + 1 < unit.size() && unit[i + 1] > 3)) return true;
  }
  return false;
}

// A number of Exp-Golomb code, ue(v) (ISO/IEC 14496-10, 9.1); 0xFFFFFFFF when it has more than 32 bits.
std::uint32_t takeNumber(BitWindow& bits) {
  constexpr unsigned kMax = 31;
  unsigned zeros = 0;
  while (zeros <= kMax && bits.Read(1) == 0) ++zeros;
  if (zeros > kMax) return 0xFFFFFFFFu;
  return (1u << zeros) - 1 + bits.Read(zeros);
}

// Whether a slice header begins as one can: first_mb_in_slice, slice_type, pic_parameter_set_id.
bool beginsLikeSlice(Bytes unit) {
  constexpr std::size_t kStart = 16;  // bytes that have the three numbers
  std::vector<std::uint8_t> raw;
  unsigned zeros = 0;
  for (const std::uint8_t byte : unit.subspan(1, std::min(unit.size() - 1, kStart))) {
    const bool prevention = zeros >= 2 && byte == 3;
    zeros = byte == 0 ? zeros + 1 : 0;
    if (!prevention) raw.push_back(byte);
  }
  BitWindow bits(raw.data(), raw.size());
  return takeNumber(bits) < kMaxMacroblocks && takeNumber(bits) <= kMaxSliceType &&
         takeNumber(bits) <= kMaxParameterSet;
}

std::string unitDefect(Bytes unit) {
  if (unit.empty()) return "is empty";
  if (unit[0] & kForbiddenBit) return "has its forbidden bit set";
  if (hasForbiddenPattern(unit)) return "has bytes that no NAL unit can have";
  if (isSlice(unit[0] & kTypeMask) && !beginsLikeSlice(unit)) return "has a slice header that cannot be";
  return "";
}

}  // namespace

std::string accessUnitDefect(Bytes sample, unsigned lengthBytes) {
  bool slices = false;
  for (unsigned number = 1; !sample.empty(); ++number) {
    const std::string name = "NAL unit " + std::to_string(number) + " ";
    if (sample.size() < lengthBytes) return name + "has no complete length";
    std::size_t size = 0;
    for (const std::uint8_t byte : sample.first(lengthBytes)) size = size << 8 | byte;
    sample = sample.subspan(lengthBytes);
    if (size > sample.size()) return name + "is longer than the rest of the frame";
    const Bytes unit = sample.first(size);
    if (std::string defect = unitDefect(unit); !defect.empty()) return name + defect;
    slices = slices || isSlice(unit[0] & kTypeMask);
    sample = sample.subspan(size);
  }
  return slices ? "" : "it has no slice";
}

}  // namespace fmp4
