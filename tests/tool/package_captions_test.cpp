// Captions inside the H.264 of a source become caption tracks of the recording.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <sstream>

#include "base/text.h"
#include "tests/captions/cea608_stream.h"
#include "tests/captions/cea708_stream.h"
#include "tests/captions/sei_stream.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using captions::CcConstruct;
using captions::CcType;
using testing::HasSubstr;

using FrameConstructs = std::vector<CcConstruct>;

// One key frame and ten groups of a P-frame and two B-frames, which are displayed before it.
constexpr std::size_t kFrames = 31;

std::size_t displayedAt(std::size_t decoded) {
  if (decoded == 0) return 0;
  const std::size_t group = (decoded - 1) / 3, member = (decoded - 1) % 3;
  return group * 3 + (member == 0 ? 3 : member);
}

// As ffmpeg's expression of the same, in ticks of its H.264 demuxer.
const std::string kTimes =
    "setts=dts=(N-2)*40040:pts=40040*if(eq(N\\,0)\\,0\\,3*floor((N-1)/"
    "3)+if(mod(N-1\\,3)\\,mod(N-1\\,3)\\,3))";

// An elementary stream with each frame's constructs, in order of display, after its access unit delimiter.
Bytes withCaptions(const Bytes& stream, const std::vector<FrameConstructs>& displayed) {
  Bytes result;
  std::size_t frame = 0;
  for (std::size_t i = 0; i < stream.size(); ++i) {
    result.push_back(stream[i]);
    const bool delimiter =
        i >= 4 && stream[i - 1] == 9 && stream[i - 2] == 1 && stream[i - 3] == 0 && stream[i - 4] == 0;
    if (!delimiter) continue;
    const std::size_t at = displayedAt(frame++);
    if (at >= displayed.size() || displayed[at].empty()) continue;
    const Bytes sei = sei::captionSei(displayed[at]);
    result.insert(result.end(), {0, 0, 0, 1});
    result.insert(result.end(), sei.begin(), sei.end());
  }
  EXPECT_EQ(frame, kFrames);
  return result;
}

// A plain MP4 at 29.97 with B-frames whose frames have these constructs, in order of display.
std::string clipOf(const TempFolder& folder, const std::vector<FrameConstructs>& displayed) {
  const std::string plain = folder.file("plain.h264"), stream = folder.file("captions.h264"),
                    clip = folder.file("clip.mp4");
  makeMedia(plain, videoInput(1.03) + h264Codec(300, 2) +
                       std::vector<std::string>{"-bsf:v", "h264_metadata=aud=insert"});
  writeFile(stream, withCaptions(readFile(plain), displayed));
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-framerate", "30000/1001", "-i", stream, "-c", "copy",
              "-bsf:v", kTimes, clip});
  return clip;
}

// Pairs of field 1, one a frame, and code blocks of service 1 in some frames.
std::vector<FrameConstructs> bothKinds() {
  using namespace cea608;
  using cea608::operator+;
  using cea708::operator+;
  Pairs pairs = code(RCL) + code(ENM) + code(pacIndent(15, 4)) + chars("In the video") + code(EOC);
  pairs = pairs + nulls(24 - pairs.size()) + code(EDM);
  std::vector<FrameConstructs> frames;
  for (std::size_t i = 0; i < kFrames; ++i)
    frames.push_back({{CcType::Field1, true, i < pairs.size() ? pairs[i] : Pair{0x80, 0x80}}});
  const auto add = [&frames](std::size_t frame, unsigned sequence, const cea708::Bytes& codes) {
    const auto constructs = cea708::constructs(cea708::packet(sequence, cea708::block(1, codes)));
    frames[frame].insert(frames[frame].end(), constructs.begin(), constructs.end());
  };
  add(4, 0, cea708::DFx(0, {}) + cea708::chars("a se"));
  add(5, 1, cea708::chars("rvice"));
  add(20, 2, cea708::DLW(1));
  return frames;
}

// Texts with their first frame and the frame after the last, from SubRip.
std::vector<std::string> cuesOf(const std::string& subRip) {
  static const std::regex kTimes(R"((\d+):(\d+):(\d+),(\d+) --> (\d+):(\d+):(\d+),(\d+))");
  static const std::regex kMarkup(R"(<[^>]*>|\{[^}]*\}|\\h|\r)");
  std::vector<std::string> cues;
  std::istringstream lines(subRip);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_search(line, match, kTimes)) {
      const auto frame = [&match](std::size_t i) {
        const double seconds = std::stoi(match[i + 2]) + std::stoi(match[i + 3]) / 1000.0;
        return std::to_string(std::lround(seconds * 30000 / 1001));
      };
      cues.push_back(frame(1) + '-' + frame(5) + ':');
    } else if (const std::string text = std::regex_replace(line, kMarkup, "");
               !cues.empty() && !std::regex_match(text, std::regex(R"(\d*)"))) {
      cues.back() += text;
    }
  }
  return cues;
}

std::string textOf(const std::string& path) {
  const Bytes bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

using Cues = std::vector<std::string>;

// The recording has no edit list: it displays its first frame two frames after it decodes it.
TEST(PackageCaptions, InsideTheVideoBecomeTracksInOrderOfDisplay) {
  const TempFolder folder;
  const std::string clip = clipOf(folder, bothKinds());
  const RunResult result = fmp4({"--quiet", "package", clip, "--output", folder.file("out.mp4")});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const std::string pairs = folder.file("cc1.srt"), service = folder.file("service.srt");
  ASSERT_EQ(fmp4({"--quiet", "export", folder.file("out.m4v"), "--captions", pairs}).exitCode, 0);
  EXPECT_EQ(cuesOf(textOf(pairs)), Cues{"14-26:In the video"});
  ASSERT_EQ(
      fmp4({"--quiet", "export", folder.file("out.m4v"), "--captions", service, "--service", "1"}).exitCode,
      0);
  EXPECT_EQ(cuesOf(textOf(service)), Cues{"6-22:a service"});
}

TEST(PackageCaptions, AreThoseThatFfmpegFindsInTheSource) {
  const TempFolder folder;
  const std::string clip = clipOf(folder, bothKinds());
  const std::string reference =
      runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "movie=" + clip + "[out0+subcc]",
                  "-map", "0:s", "-f", "srt", "-"})
          .out;
  EXPECT_EQ(cuesOf(reference), Cues{"12-24:In the video"});
}

// Every frame's packet holds its constructs; frame 6 of the recording displays the source's picture 4.
TEST(PackageCaptions, PacketsHoldAllConstructsOfAFrame) {
  const TempFolder folder;
  const std::vector<FrameConstructs> displayed = bothKinds();
  ASSERT_EQ(
      fmp4({"--quiet", "package", clipOf(folder, displayed), "--output", folder.file("out.mp4")}).exitCode,
      0);
  const auto lines = linesOf(fmp4({"--quiet", "frames", folder.file("out.m4v")}).out);
  ASSERT_EQ(lines.size(), kFrames + 1);
  for (std::size_t i = 2; i < kFrames; ++i) {
    const FrameConstructs& expected = displayed[i - 2];
    const Bytes packet = captions::distributionPacket(expected, 29.97, static_cast<std::uint16_t>(i - 2));
    const std::string host = "6101" + hexText(std::vector<std::uint8_t>{packet[2]});
    EXPECT_THAT(lines[i + 1], HasSubstr("," + host + hexText(packet) + ",")) << i;
    EXPECT_THAT(lines[i + 1], HasSubstr("," + hexText(expected[0].bytes) + ",")) << i;
  }
}

TEST(PackageCaptions, AreTakenFromWhereTheOptionSays) {
  const TempFolder folder;
  const std::string clip = clipOf(folder, bothKinds());
  for (const auto& [source, expected] :
       {std::pair("track", "captions: none"), std::pair("none", "captions: none"),
        std::pair("SEI", "captions: CEA-608 CEA-708"), std::pair("auto", "captions: CEA-608 CEA-708")}) {
    const RunResult result = fmp4(
        {"--quiet", "package", "--force", clip, "--output", folder.file("out.mp4"), "--captions", source});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(fmp4({"--quiet", "info", folder.file("out.m4v")}).out, HasSubstr(expected)) << source;
  }
  EXPECT_EQ(fmp4({"package", clip, "--output", folder.file("out.mp4"), "--captions", "audio"}).exitCode, 2);
}

TEST(PackageCaptions, AVideoWithoutAnyIsSaidWhereTheyWereAskedFor) {
  const TempFolder folder;
  const std::string clip = clipOf(folder, {});
  EXPECT_THAT(
      fmp4({"--quiet", "package", clip, "--output", folder.file("out.mp4"), "--captions", "sei"}).err,
      HasSubstr("warning: the source's video has no captions; the recording's caption tracks are empty\n"));
  EXPECT_EQ(fmp4({"--quiet", "package", "--force", clip, "--output", folder.file("out.mp4")}).err, "");
  EXPECT_THAT(fmp4({"--quiet", "info", folder.file("out.m4v")}).out, HasSubstr("captions: none"));
}

}  // namespace

}  // namespace fmp4
