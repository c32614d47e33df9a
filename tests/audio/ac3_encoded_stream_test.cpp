// Streams of ffmpeg's encoder, against the reference decoders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

#include "tests/audio/ac3_streams.h"

namespace fmp4 {

namespace {

// Expressions of ffmpeg's aevalsrc, by channel number.
std::string Expression(const std::string& signal, int channel) {
  const std::string c = std::to_string(channel + 1);
  if (signal == "tones") return "0.25*sin(2*PI*" + c + "*440*t)";
  if (signal == "noise") return "random(" + c + ")*0.8-0.4";
  // A burst four times a second.
  return "exp(-40*mod(t+0.03*" + c + "\\,0.25))*(random(" + c + ")*1.6-0.8)";
}

struct Layout {
  const char* name;  // ffmpeg's
  int channels, mode;
  bool lfe;
};

const std::vector<Layout> kLayouts = {
    {"mono", 1, 1, false},       {"stereo", 2, 2, false},    {"2.1", 3, 2, true},      {"3.0", 3, 3, false},
    {"3.1", 4, 3, true},         {"3.0(back)", 3, 4, false}, {"4.0", 4, 5, false},     {"4.1", 5, 5, true},
    {"quad(side)", 4, 6, false}, {"5.0(side)", 5, 7, false}, {"5.1(side)", 6, 7, true}};

void Encode(const std::string& file, const std::string& signal, const Layout& layout, int frequency,
            int kilobits, const std::vector<std::string>& options = {}) {
  std::string expressions;
  for (int i = 0; i < layout.channels; ++i) expressions += (i == 0 ? "" : "|") + Expression(signal, i);
  // Noise is compared by its mean power, which takes longer signals.
  const std::string seconds = signal == "tones" ? "1.5" : "5";
  makeMedia(file, std::vector<std::string>{"-f", "lavfi", "-i",
                                           "aevalsrc=" + expressions + ":s=" + std::to_string(frequency) +
                                               ":d=" + seconds + ":c=" + layout.name} +
                      options +
                      std::vector<std::string>{"-c:a", "ac3", "-b:a", std::to_string(kilobits) + "k"});
}

const std::vector<std::string> kNoDynamicRange = {"-drc_scale", "0"};

// As 16-bit samples, so that both decoders' samples are rounded and limited.
std::vector<float> Rounded(std::vector<float> samples) {
  for (float& sample : samples) sample = std::nearbyint(std::clamp(sample, -32768.0f, 32767.0f));
  return samples;
}

// The mean square of the difference of each frame.
std::vector<double> FramePowers(const std::vector<float>& a, const std::vector<float>& b, int channels) {
  EXPECT_EQ(a.size(), b.size());
  const std::size_t frame = kAc3FrameSamples * static_cast<std::size_t>(channels);
  std::vector<double> powers;
  for (std::size_t start = 0; start + frame <= std::min(a.size(), b.size()); start += frame) {
    double sum = 0;
    for (std::size_t i = start; i < start + frame; ++i) {
      const double difference = static_cast<double>(a[i]) - static_cast<double>(b[i]);
      sum += difference * difference;
    }
    powers.push_back(sum / static_cast<double>(frame));
  }
  return powers;
}

double Mean(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

// Checks that a difference due to noise alone is no larger than `self`, which is due to noise as well: both
// are powers of the same frames. Their mean excess is a random sample, as each noise is drawn only once; it
// counts as nonzero when it is three of its standard errors. The variance of rounding allows for decoders
// whose floats differ in the last bits.
void ExpectNoMoreNoise(const std::vector<double>& powers, const std::vector<double>& self) {
  constexpr double kRounding = 1.0 / 12;
  ASSERT_EQ(self.size(), powers.size());
  std::vector<double> excess(powers.size()), squares(powers.size());
  for (std::size_t i = 0; i < powers.size(); ++i) excess[i] = powers[i] - self[i];
  const double mean = Mean(excess);
  for (std::size_t i = 0; i < powers.size(); ++i) squares[i] = (excess[i] - mean) * (excess[i] - mean);
  const double standardError = std::sqrt(Mean(squares) / static_cast<double>(powers.size()));
  EXPECT_LE(mean, 3 * standardError + kRounding)
      << std::sqrt(Mean(powers)) << " RMS where the reference differs from itself by "
      << std::sqrt(Mean(self));
}

// Tones within 1.5 steps of 16 bits; noise, which is dithered where it has no bits, no further than the
// reference is from itself with other noise. Tones are compared like noise where too few bits are left for
// them, so that the reference's own dither takes most of those 1.5 steps.
void ExpectLikeFfmpeg(const std::string& signal, const Layout& layout, int frequency, int kilobits) {
  constexpr double kMuchDither = 1;
  SCOPED_TRACE(signal + " " + layout.name + " " + std::to_string(frequency) + " " + std::to_string(kilobits) +
               "k");
  TempFolder folder;
  const std::string file = folder.file("a.ac3");
  Encode(file, signal, layout, frequency, kilobits);
  const auto reference = FfmpegDecode(file, kNoDynamicRange);
  const auto otherNoise =
      FfmpegDecode(file, kNoDynamicRange + std::vector<std::string>{"-cons_noisegen", "1"});
  const Samples ours = TestAc3Decoder(layout.mode, layout.lfe).DecodeAll(readFile(file));
  const auto self = FramePowers(Rounded(reference), Rounded(otherNoise), layout.channels);
  if (signal == "tones" && std::sqrt(Mean(self)) < kMuchDither) {
    EXPECT_LE(RmsDifference(ours, reference), 1.5);
  } else {
    const std::vector<float> samples(ours.begin(), ours.end());
    ExpectNoMoreNoise(FramePowers(samples, Rounded(reference), layout.channels), self);
  }
}

class EncodedLayout : public testing::TestWithParam<Layout> {};

TEST_P(EncodedLayout, DecodesLikeFfmpeg) {
  for (const int frequency : {32000, 44100, 48000}) {
    ExpectLikeFfmpeg("tones", GetParam(), frequency, 96 * GetParam().channels);
    ExpectLikeFfmpeg("noise", GetParam(), frequency, 96 * GetParam().channels);
  }
}

INSTANTIATE_TEST_SUITE_P(All, EncodedLayout, testing::ValuesIn(kLayouts));

class EncodedBitRate : public testing::TestWithParam<int> {};

TEST_P(EncodedBitRate, DecodesLikeFfmpeg) {
  const Layout& layout = GetParam() < 96 ? kLayouts[0] : GetParam() < 224 ? kLayouts[1] : kLayouts.back();
  for (const int frequency : {32000, 44100, 48000}) {
    ExpectLikeFfmpeg("tones", layout, frequency, GetParam());
  }
  ExpectLikeFfmpeg("noise", layout, 48000, GetParam());
  ExpectLikeFfmpeg("bursts", layout, 48000, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, EncodedBitRate,
                         testing::Values(32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384,
                                         448, 512, 576, 640));

// The gains of Lo/Ro, divided by their sum, of ffmpeg's channels.
std::string Pan(const Layout& layout, double centre, double surround) {
  const auto gains = [&](bool right) {
    const bool single = layout.mode == 4 || layout.mode == 5;
    const int front = layout.mode == 3 || layout.mode == 5 || layout.mode == 7 ? 3 : 2;
    const int surrounds = front + (layout.lfe ? 1 : 0);
    std::vector<std::pair<int, double>> list = {{right ? 1 : 0, 1.0}};
    if (front == 3) list.emplace_back(2, centre);
    if (single) list.emplace_back(surrounds, surround * std::sqrt(0.5));
    if (layout.mode >= 6) list.emplace_back(surrounds + (right ? 1 : 0), surround);
    double sum = 0;
    for (const auto& [channel, gain] : list) sum += gain;
    std::string text;
    for (const auto& [channel, gain] : list)
      text += (text.empty() ? "" : "+") + std::to_string(gain / sum) + "*c" + std::to_string(channel);
    return text;
  };
  if (layout.mode == 1) return "pan=stereo|c0=c0|c1=c0";
  return "pan=stereo|c0=" + gains(false) + "|c1=" + gains(true);
}

bool HasCentreLevel(const Layout& layout) {
  return layout.mode >= 3 && layout.mode % 2 == 1;
}

bool HasSurroundLevel(const Layout& layout) {
  return layout.mode >= 4;
}

bool HasLevels(const Layout& layout) {
  return HasCentreLevel(layout) || HasSurroundLevel(layout);
}

bool HasSeveralChannels(const Layout& layout) {
  return layout.mode != 1;
}

std::vector<Layout> LayoutsThat(bool (*fit)(const Layout&)) {
  std::vector<Layout> layouts;
  std::copy_if(kLayouts.begin(), kLayouts.end(), std::back_inserter(layouts), fit);
  return layouts;
}

class LevelledLayout : public EncodedLayout {};
INSTANTIATE_TEST_SUITE_P(All, LevelledLayout, testing::ValuesIn(LayoutsThat(HasLevels)));

class LayoutOfSeveral : public EncodedLayout {};
INSTANTIATE_TEST_SUITE_P(All, LayoutOfSeveral, testing::ValuesIn(LayoutsThat(HasSeveralChannels)));

// Encodes tones with these options and expects the mix of ffmpeg's channels with these gains.
void ExpectStereoMix(const Layout& layout, const std::vector<std::string>& options, double centre,
                     double surround) {
  TempFolder folder;
  const std::string file = folder.file("a.ac3");
  Encode(file, "tones", layout, 48000, 640, options);
  const auto expected = FfmpegDecode(file, kNoDynamicRange, {"-af", Pan(layout, centre, surround)});
  EXPECT_LE(RmsDifference(TestAc3Decoder().DecodeAll(readFile(file)), expected), 1.5)
      << layout.name << " " << centre << " " << surround;
}

TEST_P(EncodedLayout, MixesToStereoWithTheStreamsLevels) {
  const Layout& layout = GetParam();
  for (const double centre : {0.707107, 0.594604, 0.5}) {
    for (const double surround : {0.707107, 0.5, 0.0}) {
      if ((!HasCentreLevel(layout) && centre < 0.7) || (!HasSurroundLevel(layout) && surround < 0.7))
        continue;
      std::vector<std::string> options;
      if (HasCentreLevel(layout)) options = {"-center_mixlev", std::to_string(centre)};
      if (HasSurroundLevel(layout)) {
        options = options + std::vector<std::string>{"-surround_mixlev", std::to_string(surround)};
      }
      ExpectStereoMix(layout, options, centre, surround);
    }
  }
}

// The alternate syntax (ATSC A/52, annex D) has finer levels, and one for Lt/Rt beside the one for Lo/Ro.
TEST_P(LevelledLayout, MixesToStereoWithTheLevelsOfTheAlternateSyntax) {
  const Layout& layout = GetParam();
  for (const auto& [centre, surround] : {std::pair{1.414, 0.841}, {1.0, 0.595}, {0.0, 0.0}}) {
    std::vector<std::string> options = {"-dmix_mode", "loro"};
    if (HasCentreLevel(layout)) {
      options = options +
                std::vector<std::string>{"-loro_cmixlev", std::to_string(centre), "-ltrt_cmixlev", "0.707"};
    }
    if (HasSurroundLevel(layout)) {
      options = options + std::vector<std::string>{"-loro_surmixlev", std::to_string(surround),
                                                   "-ltrt_surmixlev", "0.707"};
    }
    ExpectStereoMix(layout, options, centre, surround);
  }
}

// In ffmpeg's mono both channels of the stereo mix count -3 dB, here half.
TEST_P(LayoutOfSeveral, MixesToMonoLikeFfmpeg) {
  const Layout& layout = GetParam();
  TempFolder folder;
  const std::string file = folder.file("a.ac3");
  Encode(file, "tones", layout, 48000, 640);
  auto expected = FfmpegDecode(file, kNoDynamicRange + std::vector<std::string>{"-downmix", "mono"});
  for (float& sample : expected) sample *= std::sqrt(0.5f);
  EXPECT_LE(RmsDifference(TestAc3Decoder(1).DecodeAll(readFile(file)), expected), 1.5) << layout.name;
}

// a52dec has its own gain for a single channel.
TEST_P(LayoutOfSeveral, DecodesTonesLikeA52dec) {
  TempFolder folder;
  const std::string file = folder.file("a.ac3");
  Encode(file, "tones", GetParam(), 48000, 640);
  EXPECT_LE(RmsDifference(TestAc3Decoder().DecodeAll(readFile(file)), A52Decode(file)), 1.5);
}

}  // namespace

}  // namespace fmp4
