#include "audio/deinterleave.h"

#include <gtest/gtest.h>

#include <vector>

namespace fmp4 {

namespace {

using Pairs = std::vector<std::int32_t>;

const std::vector<std::uint8_t> kSource = {0x01, 0x02, 0x03, 0x84, 0x05, 0x06, 0x07, 0x08, 0x09,
                                           0x0A, 0x0B, 0x0C, 0xFD, 0xFE, 0xFF, 0x10, 0x11, 0x12};

TEST(Deinterleave, Puts24BitSamplesInTheUpperBits) {
  Pairs pairs(4);
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF24nchanto32stereo(kSource.data(), pairs.data(), 1, 3, 2, false));
  EXPECT_EQ((Pairs{static_cast<std::int32_t>(0x84050600u), 0x07080900, static_cast<std::int32_t>(0xFDFEFF00u),
                   0x10111200}),
            pairs);
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF24nchanto32stereo(kSource.data(), pairs.data(), 0, 3, 2, true));
  EXPECT_EQ((Pairs{0x03020100, 0x06058400, 0x0C0B0A00, static_cast<std::int32_t>(0xFFFEFD00u)}), pairs);
}

TEST(Deinterleave, Puts16BitSamplesInTheMiddle) {
  Pairs pairs(4);
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF16nchanto32stereo(kSource.data(), pairs.data(), 1, 4, 2, false));
  EXPECT_EQ((Pairs{0x00038400, 0x00050600, 0x000B0C00, 0x00FDFE00}), pairs);
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF16nchanto32stereo(kSource.data(), pairs.data(), 0, 2, 2, true));
  EXPECT_EQ((Pairs{0x00020100, 0x00840300, 0x00060500, 0x00080700}), pairs);
}

TEST(Deinterleave, DoesNothingForNoFramesAndNoChannel) {
  Pairs pairs(4, 7);
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF24nchanto32stereo(nullptr, pairs.data(), 0, 2, 0, false));
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF16nchanto32stereo(nullptr, pairs.data(), 0, 2, 0, false));
  EXPECT_EQ(0u, VLAudioDeinterleaveBWF16nchanto32stereo(kSource.data(), pairs.data(), 2, 2, 2, false));
  EXPECT_EQ(Pairs(4, 7), pairs);
}

TEST(Deinterleave, FillsAMissingLastChannelWithSilence) {
  Pairs pairs(4, 7);
  VLAudioDeinterleaveBWF16nchanto32stereo(kSource.data() + 14, pairs.data(), 1, 2, 1, false);
  EXPECT_EQ((Pairs{0x00111200, 0, 7, 7}), pairs);
}

}  // namespace

}  // namespace fmp4
