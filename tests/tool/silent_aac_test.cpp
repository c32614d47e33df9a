// Silent access units, with ffmpeg as the reference decoder.
#include "tool/package/silent_aac.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tool/source/source_file.h"

namespace fmp4 {

namespace {

using Bytes = std::vector<std::uint8_t>;

// An audio file with all access units replaced by silent ones, padded with zeros to the original size.
void silence(const std::string& path, const Bytes& unit) {
  SourceFile file(path);
  Bytes bytes = readFile(path);
  for (const SourceSample sample : file.tracks().front().samples) {
    const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(sample.offset);
    ASSERT_GE(sample.size, unit.size());
    std::fill_n(std::copy(unit.begin(), unit.end(), place), sample.size - unit.size(), std::uint8_t{0});
  }
  writeFile(path, bytes);
}

// ffmpeg's output, or its error messages.
std::string decoded(const std::string& path) {
  const RunResult result =
      run({"ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i", path, "-f", "s16le", "-"});
  return result.err.empty() ? result.out : result.err;
}

void expectSilence(const std::string& path, std::size_t units, std::size_t channels) {
  const std::string audio = decoded(path);
  EXPECT_TRUE(std::all_of(audio.begin(), audio.end(), [](char c) { return c == 0; })) << path;
  EXPECT_EQ(audio.size(), units * 1024 * channels * 2);
}

TEST(SilentAccessUnit, DecodesToSilenceInEveryLayoutThatFfmpegWrites) {
  // The last one has a program config element in its configuration.
  for (const auto& [layout, channels] : std::vector<std::pair<const char*, std::size_t>>{{"mono", 1},
                                                                                         {"stereo", 2},
                                                                                         {"3.0", 3},
                                                                                         {"4.0", 4},
                                                                                         {"5.0", 5},
                                                                                         {"5.1", 6},
                                                                                         {"7.1(wide)", 8},
                                                                                         {"quad", 4}}) {
    SCOPED_TRACE(layout);
    const TempFolder folder;
    const std::string path = folder.file("audio.mp4");
    std::string tones = "0.5*sin(1000*t)";
    for (std::size_t i = 1; i < channels; ++i) tones += "|0.5*sin(" + std::to_string(1000 + 300 * i) + "*t)";
    makeMedia(path, {"-f", "lavfi", "-i", "aevalsrc=exprs='" + tones + "':s=48000:d=0.512:c=" + layout,
                     "-c:a", "aac", "-b:a", "1000k", "-use_editlist", "0"});
    const SourceTrack track = SourceFile(path).tracks().front();
    const auto unit = silentAccessUnit(track.configuration);
    ASSERT_TRUE(unit);
    silence(path, *unit);
    expectSilence(path, track.samples.size(), channels);
  }
}

TEST(SilentAccessUnit, DecodesToSilenceInTheLayoutsOfLaterEditions) {
  const TempFolder folder;
  const std::string original = folder.file("audio.mp4");
  makeMedia(original,
            {"-f", "lavfi", "-i",
             "aevalsrc=exprs='sin(1000*t)|sin(1100*t)|sin(1200*t)|sin(1300*t)|sin(1400*t)|sin(1500*t)|"
             "sin(1600*t)|sin(1700*t)':s=48000:d=0.512:c=7.1(wide)",
             "-c:a", "aac", "-b:a", "1000k", "-use_editlist", "0"});
  const SourceTrack track = SourceFile(original).tracks().front();
  const Bytes bytes = readFile(original);
  for (const auto& [configuration, channels] : {std::pair{11u, 7u}, {12u, 8u}}) {
    SCOPED_TRACE(configuration);
    Bytes config = track.configuration;
    config[1] = static_cast<std::uint8_t>((config[1] & 0x87) | configuration << 3);
    const auto unit = silentAccessUnit(config);
    ASSERT_TRUE(unit);
    Bytes changed = bytes;
    const auto place =
        std::search(changed.begin(), changed.end(), track.configuration.begin(), track.configuration.end());
    ASSERT_NE(place, changed.end());
    std::copy(config.begin(), config.end(), place);
    const std::string path = folder.file("changed.mp4");
    writeFile(path, changed);
    silence(path, *unit);
    expectSilence(path, track.samples.size(), channels);
  }
}

TEST(SilentAccessUnit, OfStereoIsThisManyBits) {
  // Identifier and tag of a channel pair, its common window, 11 bits per channel, and the end.
  const auto unit = silentAccessUnit(Bytes{0x11, 0x90});
  ASSERT_TRUE(unit);
  EXPECT_EQ(*unit, (Bytes{0x21, 0, 0, 0, 0, 0x1C}));
}

TEST(SilentAccessUnit, IsThatOfTheCoreWithSbr) {
  EXPECT_EQ(silentAccessUnit(Bytes{0x2B, 0x11, 0x88, 0x00}), silentAccessUnit(Bytes{0x13, 0x10}));
  EXPECT_TRUE(silentAccessUnit(Bytes{0x2B, 0x11, 0x88, 0x00}));
}

TEST(SilentAccessUnit, IsUnavailableForOtherTypesReservedLayoutsAndTruncation) {
  EXPECT_FALSE(silentAccessUnit(Bytes{0xB9, 0x90}));              // 23: low delay
  EXPECT_FALSE(silentAccessUnit(Bytes{0x11, 0xC0}));              // configuration 8
  EXPECT_FALSE(silentAccessUnit(Bytes{0x11, 0x80}));              // 0, without its program config element
  EXPECT_FALSE(silentAccessUnit(Bytes{0x11, 0x80, 0x04, 0xFF}));  // truncated within it
  EXPECT_FALSE(silentAccessUnit(Bytes{}));
}

}  // namespace

}  // namespace fmp4
