// What every decoder of the codec framework guarantees its caller.
#pragma once

#include <gtest/gtest.h>

#include "audio/umc/codec_params.h"
#include "audio/umc/media_data.h"

namespace fmp4 {

// `Params` are the decoder's own.
template <class Decoder, class Params>
void ExpectMissingArgumentsAndStateToBeReported() {
  Decoder decoder;
  Params params;
  UMC::AudioCodecParams audio;
  UMC::BaseCodecParams base;
  UMC::MediaData data(64), empty;
  EXPECT_EQ(-998, decoder.GetFrame(&data, &data));
  EXPECT_EQ(-998, decoder.GetInfo(&params));
  EXPECT_EQ(-998, decoder.Reset());
  EXPECT_EQ(-998, decoder.SetParams(&params));
  ASSERT_EQ(0, decoder.Init(&params));
  EXPECT_EQ(-995, decoder.GetFrame(nullptr, &data));
  EXPECT_EQ(-995, decoder.GetFrame(&data, nullptr));
  EXPECT_EQ(-995, decoder.GetFrame(&empty, &data));
  EXPECT_EQ(-995, decoder.GetFrame(&data, &empty));
  EXPECT_EQ(-995, decoder.GetInfo(nullptr));
  EXPECT_EQ(-995, decoder.GetInfo(&base));
  EXPECT_EQ(-995, decoder.SetParams(nullptr));
  EXPECT_EQ(-995, decoder.SetParams(&base));
  EXPECT_EQ(-995, decoder.SetParams(&audio));
  EXPECT_EQ(3, decoder.GetInfo(&params));
  EXPECT_EQ(0, decoder.Reset());
  EXPECT_EQ(0, decoder.SetParams(&params));
  EXPECT_EQ(0, decoder.Close());
  EXPECT_EQ(0, decoder.Close());
  EXPECT_EQ(-998, decoder.Reset());
}

}  // namespace fmp4
