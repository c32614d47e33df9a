// The decode wrapper on AC-3, with its own decoder.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "audio/audio_decode.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kPcmBytes = 1536 * 4;  // of one sync frame

// Sync frames of a tone at 48 kHz in a row, all of `kbits` * 4 bytes (ATSC A/52, table 5.18).
Bytes framesOf(int kbits, int channels = 2) {
  const TempFolder folder;
  makeMedia(folder.file("tone.ac3"),
            toneInput(0.5) + std::vector<std::string>{"-ac", std::to_string(channels), "-c:a", "ac3", "-b:a",
                                                      std::to_string(kbits) + "k"});
  return readFile(folder.file("tone.ac3"));
}

Bytes firstFrames(const Bytes& frames, int kbits, int count) {
  return {frames.begin(), frames.begin() + kbits * 4 * count};
}

// The wrapper as the reader uses it: set to the described channels after opening.
class Ac3Wrapper : public VL_Audio_Decode {
 public:
  explicit Ac3Wrapper(std::uint32_t codec = VL_FCC_AC3, std::uint16_t channels = 2) {
    format.codec = codec;
    format.wave = {.formatTag = 1,
                   .channels = channels,
                   .samplesPerSecond = 48000,
                   .averageBytesPerSecond = 96000,
                   .blockAlign = 2,
                   .bitsPerSample = 16,
                   .extraSize = 0,
                   .reserved = 0,
                   .extra = {}};
    EXPECT_EQ(Init(&format), 0u);
    EXPECT_EQ(FrameSize(), 2u) << "as described";
    SetChannels(format.wave.channels);
    SetFrameSize(2u * format.wave.channels);
  }
  ~Ac3Wrapper() override { ReleaseBuffer(); }

  std::int32_t feed(Bytes input) {
    return DecodeFrameAudioBuffered(input.data(), static_cast<std::uint32_t>(input.size()), &produced, 0, 0,
                                    1536, 0);
  }

  QVRAUDIO format{};
  std::uint32_t produced = 0;
};

TEST(Ac3Wrapper, OpensForBothCodesWithTwoChannels) {
  for (const std::uint32_t codec : {VL_FCC_AC3, VL_FCC_EAC3}) {
    for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{6}}) {
      const Ac3Wrapper wrapper(codec, channels);
      EXPECT_TRUE(wrapper.IsOpen());
      EXPECT_EQ(wrapper.format.wave.channels, 2);
    }
  }
}

TEST(Ac3Wrapper, DecodesAnyNumberOfChannelsToPairs) {
  for (const int channels : {1, 2, 6}) {
    Ac3Wrapper wrapper(VL_FCC_AC3, static_cast<std::uint16_t>(channels));
    EXPECT_EQ(wrapper.feed(firstFrames(framesOf(448, channels), 448, 3)), 0);
    EXPECT_EQ(wrapper.produced, 3 * kPcmBytes);
    EXPECT_EQ(wrapper.BufferedFrames(), 3u * 1536);
  }
}

TEST(Ac3Wrapper, StopsWhenLessThan1536BytesAreLeft) {
  const Bytes frames = framesOf(96);  // of 384 bytes
  Ac3Wrapper wrapper;
  EXPECT_EQ(wrapper.feed(firstFrames(frames, 96, 4)), 0);
  EXPECT_EQ(wrapper.produced, kPcmBytes) << "1152 bytes remain after the first";
  EXPECT_EQ(wrapper.feed(firstFrames(frames, 96, 5)), 0);
  EXPECT_EQ(wrapper.produced, 2 * kPcmBytes) << "1536 remain after the first, 1152 after the second";
}

TEST(Ac3Wrapper, ADamagedFrameFailsAndTheNextDecodes) {
  const Bytes frames = framesOf(448);
  Bytes damaged = firstFrames(frames, 448, 1);
  for (std::size_t i = 100; i < 120; ++i) damaged[i] ^= 0x55;
  Ac3Wrapper wrapper;
  EXPECT_EQ(wrapper.feed(damaged), -1);
  EXPECT_EQ(wrapper.produced, 0u);
  EXPECT_EQ(wrapper.BufferedFrames(), 0u);
  EXPECT_EQ(wrapper.feed(firstFrames(frames, 448, 1)), 0);
  EXPECT_EQ(wrapper.produced, kPcmBytes);
}

TEST(Ac3Wrapper, ResetClearsTheSignal) {
  const Bytes frames = framesOf(448);
  const Bytes third(frames.begin() + 2 * 1792, frames.begin() + 3 * 1792);
  const auto pulled = [](Ac3Wrapper& wrapper) {
    Bytes pcm(kPcmBytes);
    std::uint32_t offset = 0;
    wrapper.PullAudio(wrapper.BufferStart(), 1536, pcm.data(), &offset);
    EXPECT_EQ(offset, kPcmBytes);
    return pcm;
  };
  Ac3Wrapper fresh, used;
  fresh.feed(third);
  used.feed(firstFrames(frames, 448, 2));
  EXPECT_EQ(used.Reset(), 0u);
  used.feed(third);
  EXPECT_EQ(pulled(used), pulled(fresh));
}

}  // namespace

}  // namespace fmp4
