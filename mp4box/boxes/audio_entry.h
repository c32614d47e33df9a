// The audio sample entry (ISO/IEC 14496-12, 12.2.3) with the extensions of QuickTime versions 1 and 2. The
// codec configuration is in child boxes.
#pragma once

#include <bit>

#include "mp4box/boxes/stsd.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct AudioSampleEntry final : Mp4Payload {
  std::uint16_t dataReferenceIndex = 0;
  // QuickTime fields; reserved (8 bytes) in ISO/IEC 14496-12.
  std::uint16_t version = 0;  // QuickTime version in a "stsd" of version 0; in a "stsd" of version 1 the
                              // version of AudioSampleEntryV1 (ISO/IEC 14496-12), which adds no fields
  std::uint16_t revisionLevel = 0;
  std::uint32_t vendor = 0;
  std::uint16_t channelCount = 0;
  std::uint16_t sampleSize = 0;  // bits
  std::int16_t preDefined = 0;   // QuickTime: compression ID
  std::uint16_t packetSize = 0;  // reserved
  std::uint32_t sampleRate = 0;  // 16.16 Hz

  bool quickTime = true;  // whether `version` is a QuickTime version

  // QuickTime version 1.
  std::uint32_t samplesPerPacket = 0;
  std::uint32_t bytesPerPacket = 0;
  std::uint32_t bytesPerFrame = 0;
  std::uint32_t bytesPerSample = 0;

  // QuickTime version 2; `channelCount` and `sampleRate` are then always 3 and 1.
  std::uint32_t sizeOfStructOnly = 0;
  std::uint64_t audioSampleRate = 0;  // Hz, bit pattern of a 64-bit floating-point number
  std::uint32_t numAudioChannels = 0;
  std::uint32_t always7F000000 = 0;
  std::uint32_t constBitsPerChannel = 0;
  std::uint32_t formatSpecificFlags = 0;
  std::uint32_t constBytesPerAudioPacket = 0;
  std::uint32_t constLpcmFramesPerAudioPacket = 0;

  // The values from the fields of the version; 0 if they hold nothing useful.
  std::uint32_t channels() const { return fieldVersion() == 2 ? numAudioChannels : channelCount; }
  std::uint32_t samplesPerSecond() const {
    if (fieldVersion() == 2) {
      const auto rate = std::bit_cast<double>(audioSampleRate);
      return rate >= 1 && rate < 0x1p32 ? static_cast<std::uint32_t>(rate) : 0;
    }
    // AudioSampleEntryV1 stores 1 Hz if a separate box specifies the rate.
    const std::uint32_t rate = sampleRate >> 16;
    return rate == 1 && !quickTime ? 0 : rate;
  }

  void readInside(const Mp4Payload& father) override {
    const auto* description = dynamic_cast<const SampleDescriptionBox*>(&father);
    quickTime = !description || description->version == 0;
  }

  void fields(Mp4Fields& f) override {
    f.reserved(6);
    f.u16("data_reference_index", dataReferenceIndex);
    f.u16("version", version);
    f.u16("revision_level", revisionLevel);
    f.fourcc("vendor", vendor);
    f.u16("channelcount", channelCount);
    f.u16("samplesize", sampleSize);
    f.i16("pre_defined", preDefined);
    f.u16("packet_size", packetSize);
    f.fixed16("samplerate", sampleRate);
    if (fieldVersion() == 1) {
      f.u32("samplesPerPacket", samplesPerPacket);
      f.u32("bytesPerPacket", bytesPerPacket);
      f.u32("bytesPerFrame", bytesPerFrame);
      f.u32("bytesPerSample", bytesPerSample);
    } else if (fieldVersion() == 2) {
      f.u32("sizeOfStructOnly", sizeOfStructOnly);
      f.hex("audioSampleRate", audioSampleRate, 8);
      f.u32("numAudioChannels", numAudioChannels);
      f.hex("always7F000000", always7F000000, 4);
      f.u32("constBitsPerChannel", constBitsPerChannel);
      f.hex("formatSpecificFlags", formatSpecificFlags, 4);
      f.u32("constBytesPerAudioPacket", constBytesPerAudioPacket);
      f.u32("constLPCMFramesPerAudioPacket", constLpcmFramesPerAudioPacket);
    }
  }

 private:
  // The version that determines the additional fields.
  unsigned fieldVersion() const { return quickTime ? version : 0; }
};

}  // namespace fmp4::mp4
