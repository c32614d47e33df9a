// AAC tracks of the object types Main and LTP read through the plug-in.
#include <gtest/gtest.h>

#include "tests/audio/streams.h"
#include "tests/plugin/audio_clip.h"

namespace fmp4 {

namespace {

struct Predicted {
  const char* profile;
  const char* predictor;  // the encoder's option that turns it on
  const char* signal;
};

class ReadPredicted : public testing::TestWithParam<Predicted> {};

TEST_P(ReadPredicted, GivesFfmpegsSamplesInAnyOrder) {
  const auto& [profile, predictor, signal] = GetParam();
  const std::string source = std::string("aevalsrc=") + signal + "|0.8*(" + signal + "):s=48000:d=6";
  const Clip clip({"-f", "lavfi", "-i", source},
                  std::vector<std::string>{"-c:a", "aac", "-strict", "-2", "-profile:a", profile, predictor,
                                           "1", "-aac_pns", "0", "-aac_coder", "anmr", "-b:a", "24k"} +
                      kFragments);
  const Samples ours = readInEveryWay(clip.path, 2);
  std::vector<float> theirs = ffmpegPackets(clip.folder, clip.path);
  ASSERT_GE(theirs.size(), ours.size());
  theirs.resize(ours.size());
  EXPECT_LT(RootMeanSquare(ours, theirs), 1.0);
  if (std::string(profile) == "aac_ltp") {
    EXPECT_LE(LargestDifference(ours, theirs), 1);
  }
}

// The first has beats, for which the encoder switches windows; the second never does.
constexpr const char* kBeats =
    "0.3*sin(2*PI*440*t)+0.1*sin(2*PI*3000.7*t)+(random(1)-0.5)*exp(-60*mod(t\\,0.2))";
constexpr const char* kSteady = "0.4*sin(2*PI*50*t+8*sin(2*PI*50*t)+5*sin(2*PI*350*t))";

INSTANTIATE_TEST_SUITE_P(All, ReadPredicted,
                         testing::Values(Predicted{"aac_main", "-aac_pred", kBeats},
                                         Predicted{"aac_main", "-aac_pred", kSteady},
                                         Predicted{"aac_ltp", "-aac_ltp", kBeats},
                                         Predicted{"aac_ltp", "-aac_ltp", kSteady}));

}  // namespace

}  // namespace fmp4
