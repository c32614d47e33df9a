// Captions as files that players and editors read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/captions/cea708_stream.h"
#include "tests/support/box_builder.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/captioned_file.h"
#include "tests/tool/fmp4.h"
#include "tool/export/caption_frames.h"
#include "tool/export/caption_times.h"
#include "tool/export/field_pairs.h"
#include "tool/export/scenarist.h"
#include "tool/export/subrip.h"
#include "tool/export/web_vtt.h"
#include "tool/host/plugin_host.h"

namespace fmp4 {

namespace {

using namespace cea608;
using captions::Alignment;
using captions::Cue;
using captions::TextStyle;

constexpr FrameRate kNtsc = {30000, 1001};

TEST(CaptionTimes, AreRoundedToTheNearestMillisecond) {
  EXPECT_EQ(clockText(0, kNtsc, ','), "00:00:00,000");
  EXPECT_EQ(clockText(1, kNtsc, '.'), "00:00:00.033");
  EXPECT_EQ(clockText(2, kNtsc, '.'), "00:00:00.067");
  EXPECT_EQ(clockText(107892, kNtsc, '.'), "00:59:59.996");
  EXPECT_EQ(clockText(25ull * 360000, {25, 1}, '.'), "100:00:00.000");
}

// SMPTE ST 12-1: the numbers around the minutes that lack two, and around those that do not.
TEST(CaptionTimes, DropFrameTimecodesStayWithTheClock) {
  for (const auto& [frame, text] :
       {std::pair(0u, "00:00:00;00"), std::pair(1u, "00:00:00;01"), std::pair(29u, "00:00:00;29"),
        std::pair(1799u, "00:00:59;29"), std::pair(1800u, "00:01:00;02"), std::pair(3597u, "00:01:59;29"),
        std::pair(3598u, "00:02:00;02"), std::pair(17981u, "00:09:59;29"), std::pair(17982u, "00:10:00;00"),
        std::pair(19781u, "00:10:59;29"), std::pair(19782u, "00:11:00;02"),
        std::pair(107892u, "01:00:00;00")})
    EXPECT_EQ(timecodeText(frame, 30, true), text) << frame;
  EXPECT_EQ(timecodeText(107892, 30, false), "00:59:56:12");
  EXPECT_EQ(timecodeText(25 * 61 + 3, 25, false), "00:01:01:03");
}

Cue cueOf(std::int64_t first, std::int64_t end, std::vector<captions::TextRun> runs,
          Alignment alignment = {}) {
  const double across = alignment == Alignment::Centre ? 50 : 20;
  return {first,
          end,
          {{{0, 79.3333, across, alignment, {{13, 4, 5, std::move(runs)}, {14, 4, 3, {{"two", {}}}}}}}}};
}

const std::vector<Cue> kCues = {
    cueOf(30, 60, {{"a<b ", {}}, {"green", {.foreground = {0, 3, 0}, .italics = true, .underline = true}}}),
    cueOf(90, 120, {{"on blue & white", {.foreground = {3, 3, 0}, .background = {0, 0, 3}}}},
          Alignment::Centre)};

TEST(SubRip, NumbersTimesAndStyles) {
  EXPECT_EQ(subRipText(kCues, kNtsc),
            "1\n00:00:01,001 --> 00:00:02,002\n"
            "a<b <font color=\"#00ff00\"><i><u>green</u></i></font>\ntwo\n\n"
            "2\n00:00:03,003 --> 00:00:04,004\n<font color=\"#ffff00\">on blue & white</font>\ntwo\n\n");
  EXPECT_EQ(subRipText({}, kNtsc), "");
}

TEST(WebVtt, PositionsAndClasses) {
  EXPECT_EQ(webVttText(kCues, kNtsc),
            "WEBVTT\n\n"
            "00:00:01.001 --> 00:00:02.002 line:79.33% position:20%,line-left align:left\n"
            "a&lt;b <c.lime><i><u>green</u></i></c>\ntwo\n\n"
            "00:00:03.003 --> 00:00:04.004 line:79.33% position:50%,center align:center\n"
            "<c.yellow.bg_blue>on blue &amp; white</c>\ntwo\n\n");
  EXPECT_EQ(webVttText({}, kNtsc), "WEBVTT\n\n");
  Cue cue = cueOf(0, 30, {{"red", {.foreground = {3, 0, 0}}}});
  cue.caption.blocks[0].top = 12.5;
  EXPECT_EQ(webVttText(std::vector{cue}, {30, 1}),
            "WEBVTT\n\n00:00:00.000 --> 00:00:01.000 line:12.5% position:20%,line-left align:left\n"
            "<c.red>red</c>\ntwo\n\n");
}

TEST(Scenarist, ConsecutivePairsShareALine) {
  const std::vector<TimedPair> pairs = {{1798, {0x94, 0x20}}, {1799, {0x94, 0x20}}, {1801, {0x94, 0x2F}}};
  EXPECT_EQ(scenaristText(pairs, kNtsc),
            "Scenarist_SCC V1.0\n\n00:00:59;28\t9420 9420\n\n00:01:00;03\t942f\n");
  EXPECT_EQ(scenaristText(pairs, {25, 1}),
            "Scenarist_SCC V1.0\n\n00:01:11:23\t9420 9420\n\n00:01:12:01\t942f\n");
  EXPECT_EQ(scenaristText(pairs, {30, 1}),
            "Scenarist_SCC V1.0\n\n00:00:59:28\t9420 9420\n\n00:01:00:01\t942f\n");
  EXPECT_EQ(scenaristText({}, kNtsc), "Scenarist_SCC V1.0\n");
}

TEST(Scenarist, FramesOfDoubleRateShareATimecode) {
  const std::vector<TimedPair> pairs = {
      {0, {0x94, 0x20}}, {2, {0x94, 0x20}}, {3, {0x94, 0x2C}}, {8, {0x94, 0x2F}}};
  EXPECT_EQ(scenaristText(pairs, {60000, 1001}),
            "Scenarist_SCC V1.0\n\n00:00:00;00\t9420 9420 942c\n\n00:00:00;04\t942f\n");
}

std::string textOf(const std::string& path) {
  const Bytes bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

TEST(ExportCaptions, AsSubRip) {
  const TempFolder folder;
  const std::string file = captionedFile(folder, twoCaptions()), output = folder.file("out.srt");
  const RunResult result = fmp4({"--quiet", "export", file, "--captions", output});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "fmp4: '" + output + "' has 2 captions of CC1\n");
  EXPECT_EQ(textOf(output),
            "1\n00:00:01,001 --> 00:00:03,003\nFirst\n\n2\n00:00:03,170 --> 00:00:04,004\nSecond\n\n");
}

TEST(ExportCaptions, OfSelectedFramesFromTheFirstOfThemOn) {
  const TempFolder folder;
  const std::string file = captionedFile(folder, twoCaptions()), output = folder.file("out.VTT");
  const RunResult result =
      fmp4({"--quiet", "export", file, "--captions", output, "--from", "60", "--count", "33"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(
      textOf(output),
      "WEBVTT\n\n00:00:00.000 --> 00:00:01.001 line:84.67% position:30%,line-left align:left\nFirst\n\n");
}

TEST(ExportCaptions, AsScenarist) {
  const TempFolder folder;
  const std::string file = captionedFile(folder, twoCaptions()), output = folder.file("out.scc");
  const RunResult result = fmp4({"--quiet", "export", file, "--captions", output, "--from", "10"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "fmp4: '" + output + "' has the byte pairs of CC1 and CC2\n");
  EXPECT_EQ(textOf(output),
            "Scenarist_SCC V1.0\n\n00:00:00;20\t942f 942f 94ae 94ae 94e0 94e0 d3e5 e3ef 6e64\n\n"
            "00:00:02;20\t942c 942c\n\n00:00:02;25\t942f 942f\n");
}

TEST(ExportCaptions, OfAnotherChannel) {
  const TempFolder folder;
  const Pairs third = code(RDC) + code(pac(15)) + chars("three") + nulls(10);
  const std::string file = captionedFile(folder, nulls(20), third), output = folder.file("out.srt");
  ASSERT_EQ(fmp4({"--quiet", "export", file, "--captions", output, "--channel", "cc3"}).exitCode, 0);
  EXPECT_EQ(textOf(output), "1\n00:00:00,133 --> 00:00:00,667\nthree\n\n");
}

// The packet follows three bytes that a host puts before it.
TEST(ExportCaptionPairs, OfAPacketAreThoseThatAreValidByField) {
  using captions::CcType;
  const captions::CcConstruct constructs[] = {
      {CcType::Field1, true, {0x94, 0x20}}, {CcType::Field1, false, {0x94, 0x2C}},
      {CcType::Field2, true, {0x15, 0x29}}, {CcType::Field2, false, {0x15, 0x2C}},
      {CcType::Field1, true, {0x80, 0x80}}, {CcType::PacketStart, true, {0x02, 0x21}}};
  const Bytes packet = join({zeros(3), captions::distributionPacket(constructs, 29.97, 0)});
  FieldPairs pairs;
  pairs.add({7, {}, packet});
  ASSERT_EQ(pairs.field1().size(), 1u);
  EXPECT_EQ(pairs.field1()[0].frame, 7u);
  EXPECT_THAT(pairs.field1()[0].bytes, testing::ElementsAre(0x94, 0x20));
  ASSERT_EQ(pairs.field2().size(), 1u);
  EXPECT_THAT(pairs.field2()[0].bytes, testing::ElementsAre(0x15, 0x29));
}

// Two samples of 20 pairs that begin 10 frames late: nothing is left where the track alone would put them.
TEST(ExportCaptions, MovedByAnEditListAreReadAgainFromAnyFrame) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  FrameCaptionsSpec spec = {chars("abcdefghijklmnopqrstuvwxyzabcdefghijklmn")};
  spec.edits = editsBox({{334, -1}, {0, 0}});
  writeFile(path,
            join({captionedStart(spec), captionedFragment(1, 0, spec), captionedFragment(2, 20, spec)}));
  const Plugin plugin("vlx_fmp4");
  const MediaFile file = plugin.openQuietly(path);
  CaptionFrames frames(*file, path);
  for (const std::uint32_t from : {0u, 0u, 25u, 5u}) {
    std::vector<Bytes> pairs, expected;
    frames.read({from, 40 - from}, 0, [&pairs](const FrameCaptions& frame) {
      pairs.push_back(Bytes(frame.pair.begin(), frame.pair.end()));
    });
    for (std::uint32_t i = from; i < 40; ++i) {
      const Pair& pair = spec.field1[(i + 10) % 20];
      expected.push_back(i < 10 ? Bytes() : Bytes(pair.begin(), pair.end()));
    }
    EXPECT_EQ(pairs, expected) << from;
  }
}

TEST(ExportCaptions, AnEmptyChannelNamesThoseThatAreNot) {
  const TempFolder folder;
  const Pairs third = code(RDC) + code(pac(15)) + chars("three") + nulls(10);
  const std::string file = captionedFile(folder, nulls(20), third), output = folder.file("out.srt");
  const RunResult result = fmp4({"--quiet", "export", file, "--captions", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: CC1 of '" + file + "' has no captions; those that have any: CC3 (--channel CC3)\n");
  EXPECT_FALSE(std::filesystem::exists(output));
}

// A service of CEA-708 in the packets of a file without CEA-608.
TEST(ExportCaptions, OfAService) {
  using cea708::operator+;
  const TempFolder folder;
  RunSpec videoRun, packets;
  const std::vector<cea708::Bytes> blocks = {
      cea708::block(1, cea708::DFx(0, {.vertical = 50, .horizontal = 50, .anchor = 1, .windowStyle = 3}) +
                           cea708::chars("Service one")),
      cea708::block(2, cea708::DFx(1, {}) + cea708::chars("two")), cea708::block(1, cea708::DLW(0xFF))};
  for (unsigned i = 0; i < blocks.size(); ++i) {
    videoRun.samples.push_back(sampleOf(10, i));
    const auto constructs = cea708::constructs(cea708::packet(i, blocks[i]));
    packets.samples.push_back(
        {box("ccdp", {captions::distributionPacket(constructs, 29.97, static_cast<std::uint16_t>(i))})});
  }
  TrafSpec video, c708;
  video.runs = {videoRun};
  c708.trackId = 4;
  c708.runs = {packets};
  const std::string file = folder.file("clip.mp4"), output = folder.file("out.vtt");
  writeFile(file,
            join({fileTypeBox(), movieBox({videoTrack(), {4, "clcp", 30000, captionEntry("c708"), 1001}}),
                  fragment(1, {video, c708})}));
  const RunResult first = fmp4({"--quiet", "export", file, "--captions", output});
  ASSERT_EQ(first.exitCode, 0) << first.err;
  EXPECT_EQ(first.err, "fmp4: '" + output + "' has 1 caption of service 1\n");
  EXPECT_EQ(
      textOf(output),
      "WEBVTT\n\n00:00:00.000 --> 00:00:00.067 line:50% position:50%,center align:center\nService one\n\n");
  ASSERT_EQ(fmp4({"--quiet", "export", "--force", file, "--captions", output, "--service", "2"}).exitCode, 0);
  EXPECT_EQ(textOf(output),
            "WEBVTT\n\n00:00:00.033 --> 00:00:00.100 line:10% position:10%,line-left align:left\ntwo\n\n");
  EXPECT_EQ(fmp4({"--quiet", "export", file, "--captions", output, "--service", "3"}).err,
            "fmp4: service 3 of '" + file +
                "' has no captions; those that have any: service 1, service 2 (--service 1)\n");
  EXPECT_EQ(fmp4({"--quiet", "export", file, "--captions", folder.file("out.scc")}).err,
            "fmp4: an .scc file holds CEA-608; service 1 is CEA-708, which .srt and .vtt hold as text\n");
}

TEST(ExportCaptions, NothingDisplayedIsSaid) {
  const TempFolder folder;
  const std::string file = captionedFile(folder, nulls(20)), output = folder.file("out.srt");
  const RunResult result = fmp4({"--quiet", "export", file, "--captions", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: nothing is displayed by the captions of '" + file +
                            "' in these frames; 'fmp4 frames' shows their bytes\n");
}

TEST(ExportCaptions, OtherExtensionsAndOptionsThatDoNotFitAreRefused) {
  const TempFolder folder;
  const std::string file = captionedFile(folder, twoCaptions());
  const RunResult ass = fmp4({"--quiet", "export", file, "--captions", folder.file("out.ass")});
  EXPECT_EQ(ass.exitCode, 1);
  EXPECT_EQ(ass.err,
            "fmp4: captions cannot be written as '.ass'; name the output .srt, .vtt, .scc or .json\n");
  const RunResult json =
      fmp4({"--quiet", "export", file, "--captions", folder.file("out.json"), "--channel", "CC1"});
  EXPECT_EQ(json.exitCode, 1);
  EXPECT_THAT(json.err, testing::HasSubstr("hold the bytes of all channels"));
  EXPECT_EQ(fmp4({"export", file, "--captions", "x.srt", "--channel", "CC5"}).exitCode, 2);
  EXPECT_EQ(fmp4({"export", file, "--captions", "x.srt", "--service", "64"}).exitCode, 2);
  EXPECT_EQ(fmp4({"export", file, "--captions", "x.srt", "--service", "1", "--channel", "CC1"}).exitCode, 2);
  EXPECT_EQ(fmp4({"export", file, "--video", "x.h264", "--channel", "CC1"}).exitCode, 2);
}

}  // namespace

}  // namespace fmp4
