// Reports on files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/captioned_file.h"
#include "tests/tool/fmp4.h"
#include "tool/viewer/report_drawings.h"
#include "tool/viewer/report_page.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::Not;

// The page about a file that the program writes.
std::string reportOn(const TempFolder& folder, const std::string& file) {
  const std::string output = folder.file("report.html");
  const RunResult result = fmp4({"--quiet", "report", file, "--output", output, "--force"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const std::vector<std::uint8_t> bytes = readFile(output);
  EXPECT_EQ(result.out, "wrote " + output + " (" + std::to_string(bytes.size()) + " bytes)\n");
  return {bytes.begin(), bytes.end()};
}

// What follows the heading of a section.
std::string sectionOf(const std::string& page, const std::string& title) {
  const std::size_t start = page.find("<h2>" + title + "</h2>");
  EXPECT_NE(start, page.npos) << title;
  return start == page.npos ? "" : page.substr(start, page.find("</section>", start) - start);
}

// Nothing that a browser would load.
void expectNoReferences(const std::string& page) {
  for (const char* reference : {"http", "src=", "href=", "url(", "@import", "<script", "<link"})
    EXPECT_THAT(page, Not(HasSubstr(reference)));
}

TEST(Report, OfARecordingHasAllSections) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(4, "25") + toneInput(4) + h264Codec(10, 0) +
                                           std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  ASSERT_EQ(fmp4({"--quiet", "package", folder.file("source.mp4"), "--gop", "10", "--output",
                  folder.file("a & b.mp4")})
                .exitCode,
            0);
  const std::string page = reportOn(folder, folder.file("a & b.mpd"));
  expectNoReferences(page);
  EXPECT_THAT(page, HasSubstr("<h1>a &amp; b.mpd</h1>"));
  const std::string description = sectionOf(page, "Description");
  EXPECT_THAT(description, HasSubstr("<li>video: 100 frames</li>"));
  EXPECT_THAT(description, HasSubstr("<li>duration: 00:00:04.000</li>"));
  EXPECT_THAT(sectionOf(page, "Tracks"), HasSubstr("track 1: video, H.264"));
  EXPECT_THAT(sectionOf(page, "Not read"), HasSubstr("All of the file is read."));
  EXPECT_THAT(sectionOf(page, "Bit rate"), HasSubstr("<td>100</td>"));
  EXPECT_THAT(sectionOf(page, "Bit rate"), HasSubstr("aria-label=\"Frame sizes and bit rate\""));
  const std::string keys = sectionOf(page, "Key frames");
  EXPECT_THAT(keys, HasSubstr("Key frames: 10"));
  EXPECT_THAT(keys, HasSubstr("<tr><td>10</td><td>0.400</td><td>9</td></tr>"));
  EXPECT_THAT(keys, Not(HasSubstr("<tr><td>0</td>")));
  EXPECT_THAT(sectionOf(page, "Wave form"), HasSubstr("aria-label=\"Wave form of channel 2\""));
  EXPECT_THAT(sectionOf(page, "Gaps and lost audio"), HasSubstr("no gaps"));
  EXPECT_THAT(sectionOf(page, "Captions"), HasSubstr("There are none."));
  EXPECT_THAT(sectionOf(page, "Verification"), HasSubstr("a &amp; b.mpd is intact: 100 frames"));
}

TEST(Report, BitRateIsThatOfTheFrames) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(3, "25") + h264Codec(25, 2) + fragmented());
  std::int64_t bytes = 0, largest = 0;
  for (const Packet& packet : ffprobePackets(file, "v:0")) {
    bytes += packet.size;
    largest = std::max(largest, packet.size);
  }
  const std::string rates = sectionOf(reportOn(folder, file), "Bit rate");
  EXPECT_THAT(rates, HasSubstr("<td>75</td><td>" + std::to_string(bytes) + "</td>"));
  EXPECT_THAT(rates, HasSubstr("<td>" + std::to_string(largest) + " bytes</td>"));
}

TEST(Report, SaysWhatIsNotReadAndThatThereIsNoRecording) {
  const TempFolder folder;
  const std::string file = folder.file("mixed.mp4");
  makeMedia(file, videoInput(1) + toneInput(1) + h264Codec() +
                      std::vector<std::string>{"-c:a", "flac", "-strict", "-2"} + fragmented());
  const std::string page = reportOn(folder, file);
  EXPECT_THAT(sectionOf(page, "Not read"), HasSubstr("track 2 (soun, fLaC)"));
  EXPECT_THAT(sectionOf(page, "Verification"), HasSubstr("belongs to no recording"));
  EXPECT_THAT(page, Not(HasSubstr("<h2>Wave form</h2>")));
}

TEST(Report, SaysHowMuchIsCaptioned) {
  const TempFolder folder;
  const std::string page = reportOn(folder, captionedFile(folder, twoCaptions()));
  // Frames 30 to 90 and 95 to 120 of 120.
  EXPECT_THAT(sectionOf(page, "Captions"), HasSubstr("<tr><td>CC1</td><td>2</td><td>70.8 %</td></tr>"));
}

TEST(Report, ListsAudioThatIsLost) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file,
            toneInput(4) + std::vector<std::string>{"-c:a", "aac", "-ac", "2"} + fragmented("+delay_moov"));
  std::vector<std::uint8_t> bytes = readFile(file);
  const Packet packet = ffprobePackets(file, "a:0", {"-ignore_editlist", "1"})[70];
  std::fill_n(bytes.begin() + packet.offset, packet.size, std::uint8_t{0xFF});
  writeFile(file, bytes);
  EXPECT_THAT(sectionOf(reportOn(folder, file), "Gaps and lost audio"),
              HasSubstr("<tr><td>lost</td><td>00:00:01.400</td><td>00:00:01.500</td><td>1</td></tr>"));
}

TEST(Report, ReplacesAFileWithForceAlone) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("report.html");
  makeMedia(file, videoInput(1) + h264Codec() + fragmented());
  writeFile(output, {'x'});
  const RunResult result = fmp4({"--quiet", "report", file, "--output", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("--force replaces it"));
  EXPECT_EQ(readFile(output), std::vector<std::uint8_t>{'x'});
  EXPECT_EQ(fmp4({"--quiet", "report", file, "--output", file, "--force"}).exitCode, 1);
}

TEST(Report, OfWhatIsNotReadLeavesNothing) {
  const TempFolder folder;
  const std::string file = folder.file("text.mp4"), output = folder.file("report.html");
  writeFile(file, {'t', 'e', 'x', 't'});
  const RunResult result = fmp4({"--quiet", "report", file, "--output", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr(file));
  EXPECT_FALSE(std::filesystem::exists(output));
}

// The line in the middle of three seconds of 25 frames each; the second one has twice the bytes.
TEST(ReportDrawings, BitRateIsThatOfASecondAround) {
  std::vector<FrameCell> cells(75, FrameCell{100, 100, 1});
  for (std::size_t i = 25; i < 50; ++i) cells[i].bytes = 200;
  const std::string line = bitRateDrawing(cells, {25, 1}, "");
  EXPECT_THAT(line, HasSubstr("M10.7 80L"));
  EXPECT_THAT(line, HasSubstr("L800 0L"));
  EXPECT_THAT(line, HasSubstr("L1589.3 80\""));
}

// A day at 29.97 with frames of any size, noise on two channels, a caption every three seconds, and more gaps
// than are kept.
TEST(Report, OfADayStaysBelowTwoMegabytes) {
  constexpr std::uint32_t kFrames = 2'589'410, kCells = 8'640'000;
  Overview overview;
  OverviewStreams streams{{30000, 1001}, kFrames, 48000, 2, std::uint64_t{kCells} * 480};
  overview.begin(streams);
  std::vector<FrameValue> frames(kFrames);
  for (std::uint32_t i = 0; i < kFrames; ++i)
    frames[i].bits = i * 2654435761u >> 12 | (i % (1 + i / 6000) == 0 ? FrameValue::kKey : 0);
  overview.addFrames(frames);
  std::vector<AudioCell> cells(kCells);
  for (std::uint32_t i = 0; i < kCells; ++i)
    cells[i] = {static_cast<std::uint16_t>(i * 40503u >> 1 & 0x7FFF), 1000};
  overview.addAudio({cells, cells});
  for (std::uint64_t i = 0; i < 20'000; ++i)
    overview.addFault({AudioFault::Kind::Gap, i * 200'000, i * 200'000 + 1000, 0});
  std::vector<TextCue> cues;
  for (std::int64_t i = 0; i + 90 < kFrames; i += 90) cues.push_back({i, i + 80, "text"});
  overview.setCaptions({{"CC1", cues}, {"CC3", cues}, {"service 1", cues}});
  ReportFacts facts;
  facts.name = "day.mp4";
  facts.notRead.assign(100'000, "a line");
  facts.verification.emplace(100'000, "another line");
  const std::string page = reportPage(facts, overview);
  EXPECT_LT(page.size(), 2'000'000u);
  expectNoReferences(page);
}

TEST(ReportDrawings, HaveAsManyColumnsAsFit) {
  EXPECT_EQ(reportLevel(0), 0u);
  EXPECT_EQ(reportLevel(kReportColumns), 0u);
  EXPECT_EQ(reportLevel(kReportColumns + 1), 1u);
  EXPECT_EQ(reportLevel(4 * kReportColumns + 1), 2u);
}

TEST(ReportDrawings, ShowValuesToScale) {
  EXPECT_THAT(waveFormDrawing({{16384, 0}, {0, 0}}, "a \"b\""),
              HasSubstr("aria-label=\"a &quot;b&quot;\"><path class=\"peak\" d=\"M400 40V120\"/></svg>"));
  EXPECT_THAT(partsDrawing({{0.25, 0.5}}, 1, ""), HasSubstr("d=\"M400 0h400v20h-400z\""));
  const FrameCell key{100, 100, 1, 1}, other{50, 50, 1};
  EXPECT_THAT(bitRateDrawing({key, other}, {1, 1}, ""),
              HasSubstr("<path class=\"bar\" d=\"M1200 80V160\"/><path class=\"key\" d=\"M400 0V160\"/>"
                        "<path class=\"rate\" d=\"M400 0L1200 80\"/>"));
}

}  // namespace

}  // namespace fmp4
