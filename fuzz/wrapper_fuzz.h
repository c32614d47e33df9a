// The decode wrapper with hostile samples and requests, for any codec.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "audio/audio_decode.h"
#include "base/bit_window.h"
#include "vlhost.h"

namespace fmp4 {

// The input is the format and a list of operations, two bytes each; a sample's bytes follow its operation.
// prepare(sample) may modify a sample before it is decoded.
template <class Prepare>
void FuzzWrapper(std::uint32_t codec, const std::uint8_t* data, std::size_t size, Prepare prepare) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  BitWindow bits(data, size);
  VL_Audio_Decode wrapper;
  QVRAUDIO format{};
  format.codec = codec;
  format.wave.channels = static_cast<std::uint16_t>(bits.Read(4));
  format.wave.samplesPerSecond = 48000;
  format.wave.bitsPerSample = static_cast<std::uint16_t>(bits.Read(6));
  format.wave.blockAlign = static_cast<std::uint16_t>(bits.Read(6));
  wrapper.Init(&format);
  std::uint64_t position = 0;
  while (bits.Remaining() > 0) {
    const auto operand = bits.Read(12);
    switch (bits.Read(4) & 7) {
      case 0:
      case 1:
      case 2: {
        bits.AlignToByte();
        const std::size_t start = std::min(bits.Position() / 8, size);
        const std::size_t length = std::min<std::size_t>(operand, size - start);
        std::vector<std::uint8_t> sample(data + start, data + start + length);
        sample.shrink_to_fit();
        prepare(sample);
        std::uint32_t produced = 0;
        wrapper.DecodeFrameAudioBuffered(sample.data(), static_cast<std::uint32_t>(length), &produced, 0, 0,
                                         1024, 0);
        bits.Seek(8 * (start + length));
        break;
      }
      case 3:
      case 4: {
        // Like a real caller, no further than the buffered frames.
        const std::uint64_t end = wrapper.BufferStart() + wrapper.BufferedFrames();
        const std::uint64_t frames =
            position < end ? std::min<std::uint64_t>(operand, end - position) : operand;
        std::vector<std::uint8_t> space(std::max<std::size_t>(frames, 1) * (wrapper.BitsPerSample() / 8) *
                                        std::max(wrapper.Channels(), 1u));
        std::uint32_t offset = 0;
        wrapper.PullAudio(position, static_cast<std::uint32_t>(frames), space.data(), &offset);
        position += frames;
        break;
      }
      case 5:
        wrapper.RemoveSamples(operand);
        position = wrapper.BufferStart();
        break;
      case 6:
        wrapper.Reset();
        position = 0;
        break;
      default:
        wrapper.CheckBuffer(operand);
        wrapper.SetFrameSize(operand & 31);
    }
  }
  wrapper.ReleaseBuffer();
}

}  // namespace fmp4
