#include "tool/export/annexb.h"

#include "base/bytes.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"

namespace fmp4 {

namespace {

using Bytes = std::span<const std::uint8_t>;

// Takes bytes from the front. Past the end it returns zeros and sets a flag.
class Cursor {
 public:
  explicit Cursor(Bytes bytes) : left_(bytes) {}

  Bytes take(std::size_t count) {
    if (count > left_.size()) {
      failed_ = true;
      left_ = {};
      return {};
    }
    const Bytes taken = left_.first(count);
    left_ = left_.subspan(count);
    return taken;
  }
  // A big-endian number of `count` bytes, at most 4.
  std::uint32_t number(unsigned count) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : take(count)) value = value << 8 | byte;
    return value;
  }
  bool empty() const { return left_.empty(); }
  bool failed() const { return failed_; }

 private:
  Bytes left_;
  bool failed_ = false;
};

void appendUnit(Bytes unit, std::vector<std::uint8_t>& stream) {
  stream.insert(stream.end(), {0, 0, 0, 1});
  stream.insert(stream.end(), unit.begin(), unit.end());
}

// `count` NAL units, each after a 16-bit length, as configurations store parameter sets.
void takeParameterSets(Cursor& cursor, std::uint32_t count, std::vector<std::uint8_t>& stream) {
  for (; count > 0 && !cursor.failed(); --count) {
    const Bytes unit = cursor.take(cursor.number(2));
    if (!unit.empty()) appendUnit(unit, stream);
  }
}

}  // namespace

std::optional<AnnexB> AnnexB::fromConfiguration(Bytes configuration) {
  if (configuration.size() < kBoxHeaderBytes) return std::nullopt;
  const std::uint32_t type = Mp4LoadU32(configuration.data() + 4);
  Cursor cursor(configuration.subspan(kBoxHeaderBytes));
  if (type == box_type::kAvcC) {
    // ISO/IEC 14496-15, 5.3.3.1.2
    cursor.take(4);  // version, profile, compatibility, level
    AnnexB avc(Codec::Avc, (cursor.number(1) & 3) + 1);
    takeParameterSets(cursor, cursor.number(1) & 31, avc.parameterSets_);  // sequence
    takeParameterSets(cursor, cursor.number(1), avc.parameterSets_);       // picture
    if (!cursor.failed()) return avc;
  } else if (type == box_type::kHvcC) {
    // ISO/IEC 14496-15, 8.3.3.1.2
    cursor.take(21);  // version, profile, tier, level, formats, rates
    AnnexB hevc(Codec::Hevc, (cursor.number(1) & 3) + 1);
    for (std::uint32_t arrays = cursor.number(1); arrays > 0; --arrays) {
      cursor.take(1);  // completeness and NAL unit type
      takeParameterSets(cursor, cursor.number(2), hevc.parameterSets_);
    }
    if (!cursor.failed()) return hevc;
  }
  return std::nullopt;
}

bool AnnexB::append(Bytes sample, bool key, std::vector<std::uint8_t>& stream) const {
  const std::size_t start = stream.size();
  bool parameterSetsExpected = key;
  Cursor cursor(sample);
  while (!cursor.empty()) {
    const Bytes unit = cursor.take(cursor.number(lengthBytes_));
    if (unit.empty()) continue;
    if (parameterSetsExpected && !isDelimiter(unit[0])) {
      stream.insert(stream.end(), parameterSets_.begin(), parameterSets_.end());
      parameterSetsExpected = false;
    }
    appendUnit(unit, stream);
  }
  if (cursor.failed()) stream.resize(start);
  return !cursor.failed();
}

bool AnnexB::isDelimiter(std::uint8_t firstByte) const {
  return codec_ == Codec::Avc ? (firstByte & 0x1F) == 9 : (firstByte >> 1 & 0x3F) == 35;
}

}  // namespace fmp4
