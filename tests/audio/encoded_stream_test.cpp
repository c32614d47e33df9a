// Streams of ffmpeg's encoder, against ffmpeg's decoder.
#include <gtest/gtest.h>

#include <memory>
#include <numbers>
#include <numeric>

#include "audio/umc/aac/core/codebooks.h"
#include "audio/umc/aac/raw_data_block.h"
#include "base/aac/audio_specific_config.h"
#include "tests/audio/aac_streams.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

// Expressions of ffmpeg's aevalsrc, by channel number.
std::string Expression(const std::string& signal, int channel) {
  const std::string c = std::to_string(channel + 1);
  if (signal == "music") {
    return "0.2*sin(2*PI*" + c + "*220*t+2*sin(5*t))+0.15*sin(2*PI*(700+90*" + c +
           ")*t)+0.1*sin(2*PI*(1900+400*" + c + "*t)*t)+0.02*(random(" + c + ")-0.5)";
  }
  // A burst four times a second.
  if (signal == "transient") return "exp(-40*mod(t+0.03*" + c + "\\,0.25))*(random(" + c + ")*1.6-0.8)";
  if (signal == "full scale") return "random(" + c + ")*2-1";
  return "0";
}

std::vector<std::string> Input(const std::string& signal, int rate, const std::string& layout, int channels) {
  std::string expressions;
  for (int i = 0; i < channels; ++i) expressions += (i == 0 ? "" : "|") + Expression(signal, i);
  return {"-f", "lavfi", "-i",
          "aevalsrc=" + expressions + ":s=" + std::to_string(rate) + ":d=0.8:c=" + layout};
}

void ExpectLikeFfmpeg(const std::string& signal, int rate, const std::string& layout, int channels,
                      int kilobits) {
  SCOPED_TRACE(signal + " " + std::to_string(rate) + " " + layout + " " + std::to_string(kilobits) + "k");
  TempFolder folder;
  const std::string file = folder.file("a.aac");
  makeMedia(file, Input(signal, rate, layout, channels) +
                      std::vector<std::string>{"-c:a", "aac", "-aac_pns", "0", "-b:a",
                                               std::to_string(kilobits) + "k", "-f", "adts"});
  TestDecoder decoder;
  const Samples ours = decoder.DecodeAll(readFile(file));
  ASSERT_GT(ours.size(), static_cast<std::size_t>(channels) * 1024);
  EXPECT_EQ(0u, decoder.Left());
  EXPECT_LE(LargestDifference(ours, FfmpegDecode(file, {"-c:a", "aac"})), 1);
}

class EncodedRate : public testing::TestWithParam<int> {};

TEST_P(EncodedRate, DecodesLikeFfmpeg) {
  for (const char* signal : {"music", "transient", "full scale"}) {
    ExpectLikeFfmpeg(signal, GetParam(), "stereo", 2, GetParam() < 22050 ? 48 : 128);
  }
}

INSTANTIATE_TEST_SUITE_P(All, EncodedRate,
                         testing::Values(7350, 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000,
                                         64000, 88200, 96000));

class EncodedBitRate : public testing::TestWithParam<int> {};

TEST_P(EncodedBitRate, DecodesLikeFfmpeg) {
  for (const char* signal : {"music", "transient", "silence", "full scale"}) {
    ExpectLikeFfmpeg(signal, 48000, "stereo", 2, GetParam());
  }
}

INSTANTIATE_TEST_SUITE_P(All, EncodedBitRate, testing::Values(16, 32, 64, 96, 192, 320, 512));

// How many of a stream's channel frames use their object type's prediction, and how many are short.
struct Uses {
  int predicted = 0, shortWindows = 0;
};

Uses CountUses(const Bytes& stream, int objectType) {
  using namespace UMC::aac;
  Uses uses;
  const auto block = std::make_unique<RawDataBlock>();
  for (const Bytes& frame : SplitAdts(stream)) {
    BitWindow bits(frame.data() + 7, frame.size() - 7);
    const FrameBands& bands = BandsOf(frame[2] >> 2 & 15, 1024);
    EXPECT_EQ(BlockStatus::kOk,
              ParseRawDataBlock(bits, *SharedCodebooks(), bands, objectType, *block, nullptr));
    for (int i = 0; i < block->streamCount; ++i) {
      const IcsInfo& ics = block->streams[i].ics;
      uses.predicted += ics.prediction.used != 0 || ics.ltp.used != 0 ? 1 : 0;
      uses.shortWindows += ics.IsShort() ? 1 : 0;
    }
  }
  return uses;
}

// Signals that make the encoder predict. The last has beats, for short windows between long ones.
const char* const kPredictable[] = {
    "0.4*sin(2*PI*50*t+8*sin(2*PI*50*t)+5*sin(2*PI*350*t))", "0.5*sin(2*PI*440*t)",
    "0.3*sin(2*PI*440*t)+0.1*sin(2*PI*3000.7*t)+(random(1)-0.5)*exp(-60*mod(t\\,0.2))"};

struct Predicted {
  int rate;
  const char* layout;
  int channels;
  int kilobits;
  const char* coder;  // of the encoder
};

class Prediction : public testing::TestWithParam<Predicted> {
 protected:
  // Encodes the signals and compares. The streams must use short windows, and prediction more often than
  // stated.
  template <class Compare>
  void DecodeAll(const std::vector<std::string>& options, int objectType, int predicted, Compare compare) {
    const auto& [rate, layout, channels, kilobits, coder] = GetParam();
    Uses all;
    for (const std::string signal : kPredictable) {
      SCOPED_TRACE(signal);
      std::string source = "aevalsrc=" + signal;
      for (int i = 1; i < channels; ++i) source += "|0.8*(" + signal + ")";
      source += ":s=" + std::to_string(rate) + ":d=0.8:c=" + layout;
      TempFolder folder;
      const std::string file = folder.file("a.aac");
      makeMedia(file, std::vector<std::string>{"-f", "lavfi", "-i", source, "-c:a", "aac", "-strict", "-2",
                                               "-aac_pns", "0", "-aac_coder", coder, "-b:a",
                                               std::to_string(kilobits) + "k"} +
                          options + std::vector<std::string>{"-f", "adts"});
      const Bytes stream = readFile(file);
      const Samples ours = TestDecoder().DecodeAll(stream);
      EXPECT_GT(ours.size(), static_cast<std::size_t>(channels) * 1024);
      compare(ours, FfmpegDecode(file, {"-c:a", "aac"}));
      const Uses uses = CountUses(stream, objectType);
      all.predicted += uses.predicted;
      all.shortWindows += uses.shortWindows;
    }
    EXPECT_GT(all.predicted, predicted);
    EXPECT_GT(all.shortWindows, 0);
  }
};

class EncodedMain : public Prediction {};

TEST_P(EncodedMain, DecodesLikeFfmpeg) {
  DecodeAll({"-profile:a", "aac_main", "-aac_pred", "1"}, UMC::aac::kObjectMain, 10,
            [](const Samples& ours, const std::vector<float>& reference) {
              EXPECT_LT(RootMeanSquare(ours, reference), 1.0);
            });
}

INSTANTIATE_TEST_SUITE_P(All, EncodedMain,
                         testing::Values(Predicted{48000, "mono", 1, 32, "twoloop"},
                                         Predicted{44100, "stereo", 2, 64, "twoloop"},
                                         Predicted{32000, "stereo", 2, 160, "fast"},
                                         Predicted{22050, "mono", 1, 32, "fast"},
                                         Predicted{48000, "5.1", 6, 192, "fast"}));

class EncodedLongTerm : public Prediction {};

TEST_P(EncodedLongTerm, DecodesLikeFfmpeg) {
  DecodeAll({"-profile:a", "aac_ltp", "-aac_ltp", "1"}, UMC::aac::kObjectLtp, 0,
            [](const Samples& ours, const std::vector<float>& reference) {
              EXPECT_LE(LargestDifference(ours, reference), 1);
            });
}

INSTANTIATE_TEST_SUITE_P(All, EncodedLongTerm,
                         testing::Values(Predicted{48000, "stereo", 2, 24, "fast"},
                                         Predicted{48000, "stereo", 2, 64, "anmr"},
                                         Predicted{44100, "stereo", 2, 24, "anmr"},
                                         Predicted{32000, "stereo", 2, 24, "anmr"}));

struct NamedLayout {
  const char* name;
  int channels;
};

class EncodedLayout : public testing::TestWithParam<NamedLayout> {};

TEST_P(EncodedLayout, DecodesLikeFfmpeg) {
  const auto& [name, channels] = GetParam();
  ExpectLikeFfmpeg("music", 48000, name, channels, 64 * channels);
  ExpectLikeFfmpeg("transient", 48000, name, channels, 64 * channels);
}

INSTANTIATE_TEST_SUITE_P(
    All, EncodedLayout,
    testing::Values(NamedLayout{"mono", 1}, NamedLayout{"stereo", 2}, NamedLayout{"2.1", 3},
                    NamedLayout{"3.0", 3}, NamedLayout{"3.0(back)", 3}, NamedLayout{"4.0", 4},
                    NamedLayout{"quad", 4}, NamedLayout{"quad(side)", 4}, NamedLayout{"3.1", 4},
                    NamedLayout{"5.0", 5}, NamedLayout{"5.0(side)", 5}, NamedLayout{"4.1", 5},
                    NamedLayout{"5.1", 6}, NamedLayout{"5.1(side)", 6}, NamedLayout{"6.0", 6},
                    NamedLayout{"6.0(front)", 6}, NamedLayout{"hexagonal", 6}, NamedLayout{"6.1", 7},
                    NamedLayout{"6.1(back)", 7}, NamedLayout{"6.1(front)", 7}, NamedLayout{"7.0", 7},
                    NamedLayout{"7.0(front)", 7}, NamedLayout{"7.1", 8}, NamedLayout{"7.1(wide)", 8},
                    NamedLayout{"7.1(wide-side)", 8}, NamedLayout{"octagonal", 8}));

class SampleStream : public testing::TestWithParam<const char*> {};

TEST_P(SampleStream, DecodesLikeFfmpeg) {
  const std::filesystem::path file = std::filesystem::path(VL_TEST_DATA) / GetParam();
  EXPECT_LE(LargestDifference(TestDecoder().DecodeAll(readFile(file)), FfmpegDecode(file, {"-c:a", "aac"})),
            1);
}

INSTANTIATE_TEST_SUITE_P(All, SampleStream,
                         testing::Values("lc_51_48k.aac", "lc_40_48k.aac", "lc_mono_16k.aac"));

// Power in 1 kHz bands, decibels, of one channel.
std::vector<double> BandPowers(const std::vector<float>& samples, std::size_t channel, std::size_t channels) {
  constexpr std::size_t kPoints = 480;  // 100 Hz apart at 48 kHz
  std::vector<double> powers(15, 1e-3);
  for (std::size_t start = 0; start + kPoints <= samples.size() / channels; start += 4 * kPoints) {
    for (std::size_t bin = 0; bin < powers.size() * 10; ++bin) {
      double re = 0, im = 0;
      for (std::size_t i = 0; i < kPoints; ++i) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(bin * i % kPoints) / kPoints;
        const double sine = std::sin(std::numbers::pi * (static_cast<double>(i) + 0.5) / kPoints);
        const double x = sine * sine * samples[(start + i) * channels + channel];
        re += x * std::cos(angle);
        im += x * std::sin(angle);
      }
      powers[bin / 10] += re * re + im * im;
    }
  }
  for (double& power : powers) power = 10 * std::log10(power);
  return powers;
}

TEST(NoiseSubstitution, HasTheBandEnergiesOfTheReference) {
  TempFolder folder;
  const std::string file = folder.file("a.aac");
  makeMedia(file,
            std::vector<std::string>{"-f", "lavfi", "-i",
                                     "aevalsrc=0.2*(random(1)-0.5)|0.1*(random(2)-0.5):s=48000:d=10:c=stereo",
                                     "-c:a", "aac", "-aac_pns", "1", "-b:a", "48k", "-f", "adts"});
  const Samples ours = TestDecoder().DecodeAll(readFile(file));
  const std::vector<float> reference = FfmpegDecode(file, {"-c:a", "aac"});
  ASSERT_GT(LargestDifference(ours, reference), 100) << "no noise was substituted";
  const std::vector<float> floats(ours.begin(), ours.end());
  for (std::size_t channel = 0; channel < 2; ++channel) {
    const auto expected = BandPowers(reference, channel, 2), measured = BandPowers(floats, channel, 2);
    const double strongest = *std::max_element(expected.begin(), expected.end());
    for (std::size_t band = 0; band < expected.size(); ++band) {
      if (expected[band] < strongest - 6) continue;  // outside the coded bandwidth
      EXPECT_NEAR(expected[band], measured[band], 0.5) << "channel " << channel << " band " << band;
    }
  }
}

}  // namespace

}  // namespace fmp4
