#include "audio/umc/aac/fill_element.h"

namespace UMC::aac {

namespace {

// extension_type
enum : std::uint32_t { kDataElement = 2, kDynamicRange = 11, kSbrData = 13, kSbrDataCrc = 14 };

// excluded_channels()
void SkipExcludedChannels(fmp4::BitWindow& stream) {
  bool more = true;
  while (more && !stream.Overrun()) {
    stream.Read(7);
    more = stream.ReadFlag();
  }
}

// dynamic_range_info()
void SkipDynamicRange(fmp4::BitWindow& stream) {
  if (stream.ReadFlag()) stream.Read(8);  // pce_instance_tag and reserved bits
  if (stream.ReadFlag()) SkipExcludedChannels(stream);
  unsigned bands = 1;
  if (stream.ReadFlag()) {
    const auto increment = stream.Read(4);
    stream.Read(4);  // drc_interpolation_scheme
    bands += increment;
    stream.Seek(stream.Position() + 8 * bands);
  }
  if (stream.ReadFlag()) stream.Read(8);  // prog_ref_level and a reserved bit
  stream.Seek(stream.Position() + 8 * bands);
}

void SkipDataElement(fmp4::BitWindow& stream) {
  if (stream.Read(4) != 0) return;  // data_element_version
  std::size_t bytes = 0;
  std::uint32_t part = 255;
  while (part == 255 && !stream.Overrun()) bytes += part = stream.Read(8);
  stream.Seek(stream.Position() + 8 * bytes);
}

}  // namespace

void ParseFillElement(fmp4::BitWindow& stream, SbrPayload& sbr) {
  std::size_t bytes = stream.Read(4);
  if (bytes == 15) bytes = 14 + stream.Read(8);
  const std::size_t end = stream.Position() + 8 * bytes;
  bool more = true;
  while (more && stream.Position() + 4 <= end) {
    const auto type = stream.Read(4);
    switch (type) {
      case kDynamicRange:
        SkipDynamicRange(stream);
        break;
      case kDataElement:
        SkipDataElement(stream);
        break;
      case kSbrData:
      case kSbrDataCrc:
        sbr.position = stream.Position();
        sbr.bits = static_cast<std::uint32_t>(end - stream.Position());
        sbr.hasCrc = type == kSbrDataCrc;
        more = false;
        break;
      default:  // fill data extend to the end
        more = false;
    }
  }
  stream.Seek(end);
}

}  // namespace UMC::aac
