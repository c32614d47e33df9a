// The visual sample entry (ISO/IEC 14496-12, 12.1.3). The codec configuration is in child boxes.
#pragma once

#include <array>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct VisualSampleEntry final : Mp4Payload {
  std::uint16_t dataReferenceIndex = 0;
  // QuickTime fields; reserved (16 bytes) in ISO/IEC 14496-12.
  std::uint16_t version = 0;
  std::uint16_t revisionLevel = 0;
  std::uint32_t vendor = 0;
  std::uint32_t temporalQuality = 0;
  std::uint32_t spatialQuality = 0;
  std::uint16_t width = 0;                           // pixels
  std::uint16_t height = 0;                          // pixels
  std::uint32_t horizResolution = 0;                 // 16.16 pixels per inch
  std::uint32_t vertResolution = 0;                  // 16.16 pixels per inch
  std::uint32_t dataSize = 0;                        // reserved
  std::uint16_t frameCount = 0;                      // frames per sample
  std::array<std::uint8_t, 32> compressorName = {};  // length, then characters
  std::uint16_t depth = 0;
  std::int16_t preDefined = 0;  // -1; QuickTime: colour table

  void fields(Mp4Fields& f) override {
    f.reserved(6);
    f.u16("data_reference_index", dataReferenceIndex);
    f.u16("version", version);
    f.u16("revision_level", revisionLevel);
    f.fourcc("vendor", vendor);
    f.u32("temporal_quality", temporalQuality);
    f.u32("spatial_quality", spatialQuality);
    f.u16("width", width);
    f.u16("height", height);
    f.fixed16("horizresolution", horizResolution);
    f.fixed16("vertresolution", vertResolution);
    f.u32("data_size", dataSize);
    f.u16("frame_count", frameCount);
    f.bytes("compressorname", compressorName);
    f.u16("depth", depth);
    f.i16("pre_defined", preDefined);
  }
};

}  // namespace fmp4::mp4
