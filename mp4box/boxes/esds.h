// "esds": the elementary stream descriptor (ISO/IEC 14496-14, 5.6; the descriptors: ISO/IEC 14496-1, 7.2.6).
#pragma once

#include <optional>

#include "mp4box/boxes/descriptor.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct DecoderConfigDescriptor {
  std::uint8_t objectTypeIndication = 0;
  std::uint8_t streamType = 0;     // complete byte: streamType 6 bits, upStream 1, reserved 1
  std::uint32_t bufferSizeDB = 0;  // 24 bits, bytes
  std::uint32_t maxBitrate = 0;    // bits per second
  std::uint32_t avgBitrate = 0;    // bits per second
  bool hasDecoderSpecificInfo = true;
  std::vector<std::uint8_t> decoderSpecificInfo;  // for AAC the AudioSpecificConfig
  std::vector<std::uint8_t> extension;            // descriptors after decoderSpecificInfo, as stored
};

struct ESDBox final : Mp4FullBox {
  std::uint16_t esId = 0;
  std::uint8_t esFlags = 0;  // streamDependenceFlag, URL_Flag, OCRstreamFlag, streamPriority 5 bits
  // Read if the flags signal them; written if present, regardless of the flags.
  std::optional<std::uint16_t> dependsOnEsId;
  std::optional<std::string> url;
  std::optional<std::uint16_t> ocrEsId;
  std::optional<DecoderConfigDescriptor> decoderConfig;
  // The descriptors after the decoder configuration, as stored; initially an SLConfigDescriptor with
  // predefined = 2, the value for MP4 files.
  std::vector<std::uint8_t> extension = {0x06, 0x01, 0x02};

  // How the lengths are stored; their values follow from the enclosed content.
  DescriptorLength esLength;
  DescriptorLength decoderConfigLength;
  DescriptorLength decoderSpecificInfoLength;

  void fields(Mp4Fields& f) override;
};

}  // namespace fmp4::mp4
