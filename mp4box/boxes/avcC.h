// "avcC": the AVC decoder configuration record (ISO/IEC 14496-15, 5.3.3.1).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct AVCConfigurationBox final : Mp4Payload {
  std::vector<std::uint8_t> record;  // as stored

  // The first fields of the record; 0 if it is too short.
  std::uint8_t configurationVersion() const { return at(0); }
  std::uint8_t profileIndication() const { return at(1); }
  std::uint8_t profileCompatibility() const { return at(2); }
  std::uint8_t levelIndication() const { return at(3); }
  // Bytes of the length prefix of each NAL unit in a sample.
  unsigned nalLengthBytes() const { return (at(4) & 0x03u) + 1; }

  // Written when the stream provided no record: version, profile, compatibility and level all 1, four-byte
  // NAL unit lengths, no sequence parameter sets. Intended (quirk 45): the count of picture parameter sets is
  // omitted.
  static AVCConfigurationBox placeholder() {
    AVCConfigurationBox box;
    box.record = {1, 1, 1, 1, 0xFC | 0x03, 0xE0 | 0x00};
    return box;
  }

  void fields(Mp4Fields& f) override { f.rest("record", record); }

 private:
  std::uint8_t at(std::size_t i) const { return i < record.size() ? record[i] : std::uint8_t{0}; }
};

}  // namespace fmp4::mp4
