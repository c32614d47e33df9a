// Audio, captions and video stay in sync when they are packaged.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/sync.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Options = std::vector<std::string>;

// Half an access unit at 48000 Hz, and the precision, a millisecond, with which the start of a tone is found.
constexpr double kHalfUnit = 512.0 / 48000, kFound = 0.0015;
constexpr double kFrame = 0.04;

const Options kFragmented = {"-movflags", "frag_keyframe+empty_moov+default_base_moof"};

// The times of the caption byte pairs that are not padding.
using CaptionTimes = std::map<std::string, double>;
const std::string kNoCaption = "8080";

// From the track's times in ffprobe: its samples hold one pair per frame, each after a byte that gives its
// field.
CaptionTimes captionTimes(const std::string& recording) {
  const RunResult result = runOrThrow({"ffprobe", "-v", "error", "-select_streams", "s:0", "-show_packets",
                                       "-show_data", "-show_entries", "packet=pts_time,data", recording});
  CaptionTimes times;
  double time = 0;
  std::string digits;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("pts_time=")) {
      time = std::stod(line.substr(9));
    } else if (const auto colon = line.find(": "); colon == 8) {
      const std::string row = line.substr(colon + 2, line.find("  ") - colon - 2);
      std::copy_if(row.begin(), row.end(), std::back_inserter(digits), [](char c) { return c != ' '; });
    } else if (line == "[/PACKET]") {
      for (std::size_t i = 0; i + 6 <= digits.size(); i += 6, time += kFrame) {
        const std::string pair = digits.substr(i + 2, 4);
        if (pair != kNoCaption) times[pair] = std::round(time * 1000) / 1000;
      }
      digits.clear();
    }
  }
  return times;
}

// From the frame numbers of an export.
CaptionTimes exportedCaptions(const std::string& file, const std::string& output) {
  EXPECT_EQ(fmp4({"--quiet", "export", "--force", file, "--captions", output}).exitCode, 0);
  const auto bytes = readFile(output);
  CaptionTimes times;
  for (const std::string& line : linesOf({bytes.begin(), bytes.end()})) {
    const auto caption = nlohmann::json::parse(line);
    if (caption["cc608"] != kNoCaption)
      times[caption["cc608"]] = std::round(caption["frame"].get<double>() * kFrame * 1000) / 1000;
  }
  return times;
}

class InStep : public testing::Test {
 protected:
  // Flashes and tones at 0.4, 2 and 3.6 s.
  std::string source(int bFrames) {
    const std::string file = folder_.file("b" + std::to_string(bFrames) + ".mp4");
    makeMedia(file, flashAndToneInputs(4, {"0.4", "2", "3.6"}) + h264Codec(25, bFrames) +
                        Options{"-c:a", "aac", "-ac", "2"});
    return file;
  }
  // `options` with the source above as their input, once or twice.
  std::string made(const Options& options) {
    makeMedia(folder_.file("made.mp4"), options);
    return folder_.file("made.mp4");
  }
  // An ffmpeg concat list of a source's audio without what plays from 1.2 to 1.7 s.
  std::string audioWithAGap(const std::string& source) {
    makeMedia(folder_.file("audio.mp4"), {"-i", source, "-vn", "-c", "copy"});
    makeMedia(folder_.file("first.mp4"), {"-i", folder_.file("audio.mp4"), "-t", "1.2", "-c", "copy"});
    makeMedia(folder_.file("second.mp4"), {"-ss", "1.7", "-i", folder_.file("audio.mp4"), "-c", "copy"});
    std::ofstream(folder_.file("parts.txt")) << "file first.mp4\nduration 1.7\nfile second.mp4\n";
    return folder_.file("parts.txt");
  }
  // Packages a source and compares the delay of each tone from its flash with that in the source.
  void staysInStep(const std::string& source, const std::string& warning = "") {
    const auto sourceFlashes = flashTimes(source), sourceTones = toneTimes(source);
    for (const char* output : {"out.mp4", "both.ismv"}) {
      const RunResult result =
          fmp4({"--quiet", "package", "--force", source, "--output", folder_.file(output)});
      ASSERT_EQ(result.exitCode, 0) << result.err;
      EXPECT_THAT(result.err,
                  warning.empty() ? IsEmpty() : testing::Matcher<std::string>(HasSubstr(warning)));
      const bool apart = std::string(output) == "out.mp4";
      const std::string video = folder_.file(apart ? "out.m4v" : output);
      const auto flashes = flashTimes(video), tones = toneTimes(apart ? folder_.file("out.m4a") : video);
      ASSERT_EQ(flashes.size(), sourceFlashes.size());
      ASSERT_EQ(tones.size(), sourceTones.size());
      ASSERT_EQ(tones.size(), flashes.size());
      for (std::size_t i = 0; i < tones.size(); ++i)
        EXPECT_NEAR(tones[i] - flashes[i], sourceTones[i] - sourceFlashes[i], kHalfUnit + kFound)
            << output << i;
      EXPECT_EQ(fmp4({"--quiet", "verify", video}).exitCode, 0);
    }
  }

  TempFolder folder_;
};

TEST_F(InStep, WithBFrames) {
  staysInStep(source(2));
}

TEST_F(InStep, WithoutBFrames) {
  staysInStep(source(0));
}

TEST_F(InStep, FragmentsWithoutAnEditList) {
  staysInStep(made(Options{"-i", source(2), "-c", "copy"} + kFragmented));
}

TEST_F(InStep, FragmentsWithAnEditList) {
  staysInStep(made({"-i", source(2), "-c", "copy", "-movflags", "frag_keyframe+delay_moov"}));
}

TEST_F(InStep, AudioThatStartsLate) {
  const std::string file = source(2);
  const Options late = {"-i",   file,  "-itsoffset", "2",   "-i", file,
                        "-map", "0:v", "-map",       "1:a", "-c", "copy"};
  staysInStep(made(late));
  staysInStep(made(late + kFragmented));
  staysInStep(made(late + Options{"-movflags", "frag_keyframe+delay_moov"}));
}

TEST_F(InStep, AudioThatStartsLateIsSilentUntilThen) {
  const std::string file = source(0);
  made({"-i", file, "-itsoffset", "2", "-i", file, "-map", "0:v", "-map", "1:a", "-c", "copy"});
  ASSERT_EQ(
      fmp4({"--quiet", "package", folder_.file("made.mp4"), "--output", folder_.file("out.mp4")}).exitCode,
      0);
  const RunResult levels = runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i",
                                       folder_.file("out.m4a"), "-t", "1.9", "-f", "s16le", "-ac", "1", "-"});
  EXPECT_EQ(levels.out, std::string(static_cast<std::size_t>(1.9 * 48000) * 2, '\0'));
}

TEST_F(InStep, VideoThatStartsLate) {
  const std::string file = source(2);
  made({"-itsoffset", "1", "-i", file, "-i", file, "-map", "0:v", "-map", "1:a", "-c", "copy"});
  // The tone at 0.4 s comes before the video.
  const RunResult result =
      fmp4({"--quiet", "package", folder_.file("made.mp4"), "--output", folder_.file("out.mp4")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("warning: the source's audio begins 9"));
  EXPECT_THAT(result.err, HasSubstr(" ms before its video; that part is left out"));
  const auto flashes = flashTimes(folder_.file("out.m4v")), tones = toneTimes(folder_.file("out.m4a"));
  ASSERT_EQ(flashes.size(), 3u);
  ASSERT_EQ(tones.size(), 2u);
  EXPECT_NEAR(tones[0] - flashes[1], -1, kHalfUnit + kFound);
  EXPECT_NEAR(tones[1] - flashes[2], -1, kHalfUnit + kFound);
}

TEST_F(InStep, AudioWithAGap) {
  const std::string file = source(2);
  const std::string gap = made(
      {"-i", file, "-f", "concat", "-i", audioWithAGap(file), "-map", "0:v", "-map", "1:a", "-c", "copy"});
  ASSERT_EQ(toneTimes(gap).size(), 3u);
  staysInStep(gap);
}

TEST_F(InStep, VideoAndAudioWithAGap) {
  const std::string file = source(0);
  makeMedia(folder_.file("first.mp4"), {"-i", file, "-t", "1.4", "-c", "copy"});
  std::ofstream(folder_.file("parts.txt")) << "file first.mp4\nduration 3\nfile b0.mp4\n";
  const std::string gap = made(
      Options{"-f", "concat", "-safe", "0", "-i", folder_.file("parts.txt"), "-c", "copy"} + kFragmented);
  ASSERT_EQ(fmp4({"--quiet", "package", gap, "--output", folder_.file("out.mp4")}).exitCode, 0);
  const auto flashes = flashTimes(folder_.file("out.m4v")), tones = toneTimes(folder_.file("out.m4a"));
  ASSERT_EQ(flashes.size(), 4u);
  ASSERT_EQ(tones.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(tones[i], flashes[i], kFrame / 2 + kHalfUnit + kFound) << i;
}

TEST_F(InStep, ACutKeepsTheFramesFromItsKeyFrame) {
  const std::string file = source(2);
  made({"-ss", "1.52", "-i", file, "-c", "copy"});
  const RunResult result =
      fmp4({"--quiet", "package", folder_.file("made.mp4"), "--output", folder_.file("out.mp4")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err,
              HasSubstr("warning: the source's edit list hides its first 13 frames; the recording shows "
                        "them, as those after them cannot be decoded without them"));
  const auto flashes = flashTimes(folder_.file("out.m4v")), tones = toneTimes(folder_.file("out.m4a"));
  // From the key frame at 1 s on, after the delay of the B-frames.
  ASSERT_EQ(flashes.size(), 2u);
  EXPECT_NEAR(flashes[0], 1.08, 0.001);
  ASSERT_EQ(tones.size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) EXPECT_NEAR(tones[i], flashes[i], kHalfUnit + kFound) << i;
}

// Of its access units, as ffprobe has them, which adds empty lines.
std::vector<std::string> audioSizes(const std::string& file) {
  std::vector<std::string> sizes =
      linesOf(runOrThrow({"ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries", "packet=size",
                          "-of", "csv=p=0", file})
                  .out);
  std::erase(sizes, "");
  return sizes;
}

// At 0.64 s frame 16 is shown, and 30 access units end, before which the encoder put one.
TEST_F(InStep, AnAccessUnitThatBeginsWithTheFirstFrameIsKept) {
  const std::string file = made(Options{"-f", "lavfi", "-i", "testsrc2=size=160x90:rate=25", "-f", "lavfi",
                                        "-i", "anoisesrc=sample_rate=48000:seed=1", "-t", "2"} +
                                h264Codec(16, 0) + Options{"-c:a", "aac"});
  const std::string output = folder_.file("out.mp4");
  ASSERT_EQ(fmp4({"--quiet", "package", file, "--output", output, "--start", "16"}).exitCode, 0);
  std::vector<std::string> expected = audioSizes(file);
  ASSERT_GT(expected.size(), 90u);
  expected.erase(expected.begin(), expected.begin() + 31);
  EXPECT_EQ(audioSizes(folder_.file("out.m4a")), expected);
}

TEST_F(InStep, APartOfTheSource) {
  const std::string file = source(2);
  ASSERT_EQ(fmp4({"--quiet", "package", file, "--output", folder_.file("out.mp4"), "--start", "25", "--count",
                  "50"})
                .exitCode,
            0);
  const auto flashes = flashTimes(folder_.file("out.m4v")), tones = toneTimes(folder_.file("out.m4a"));
  ASSERT_EQ(flashes.size(), 1u);
  ASSERT_EQ(tones.size(), 1u);
  EXPECT_NEAR(tones[0], flashes[0], kHalfUnit + kFound);
}

TEST_F(InStep, ExportedAudioStartsWithTheFirstFrame) {
  for (const int bFrames : {0, 2}) {
    const std::string file = source(bFrames);
    ASSERT_EQ(fmp4({"--quiet", "package", "--force", file, "--output", folder_.file("out.mp4")}).exitCode, 0);
    ASSERT_EQ(
        fmp4({"--quiet", "export", "--force", folder_.file("out.mpd"), "--audio", folder_.file("out.wav")})
            .exitCode,
        0);
    const auto expected = toneTimes(file), tones = toneTimes(folder_.file("out.wav"));
    ASSERT_EQ(tones.size(), expected.size());
    for (std::size_t i = 0; i < tones.size(); ++i)
      EXPECT_NEAR(tones[i], expected[i], kHalfUnit + kFound) << bFrames << i;
  }
}

// Exports the audio of a source and compares its tones, whose times count from the first frame, with those of
// the source. The first frame may be one that an edit list hides.
void exportsInStep(const TempFolder& folder, const std::string& source) {
  ASSERT_EQ(fmp4({"--quiet", "export", "--force", source, "--audio", folder.file("out.wav")}).exitCode, 0);
  const double first = frameTimes(source).at(0);
  std::vector<double> expected;
  for (const double tone : toneTimes(source))
    if (tone >= first) expected.push_back(tone - first);
  const auto tones = toneTimes(folder.file("out.wav"));
  ASSERT_EQ(tones.size(), expected.size());
  for (std::size_t i = 0; i < tones.size(); ++i) EXPECT_NEAR(tones[i], expected[i], kHalfUnit + kFound) << i;
}

const Options kFragmentings[] = {kFragmented, {"-movflags", "frag_keyframe+delay_moov"}};

TEST_F(InStep, ExportedAudioKeepsTheGapsOfItsSource) {
  const std::string file = source(2), parts = audioWithAGap(file);
  for (const Options& fragmenting : kFragmentings) {
    const std::string gap =
        made(Options{"-i", file, "-f", "concat", "-i", parts, "-map", "0:v", "-map", "1:a", "-c", "copy"} +
             fragmenting);
    ASSERT_EQ(toneTimes(gap).size(), 3u);
    exportsInStep(folder_, gap);
  }
}

TEST_F(InStep, ExportedAudioStartsWithVideoThatStartsLate) {
  const std::string file = source(2);
  for (const Options& fragmenting : kFragmentings)
    exportsInStep(folder_, made(Options{"-itsoffset", "1", "-i", file, "-i", file, "-map", "0:v", "-map",
                                        "1:a", "-c", "copy"} +
                                fragmenting));
}

TEST_F(InStep, ExportedAudioStartsWithFramesThatACutHides) {
  const std::string file = source(2);
  for (const Options& fragmenting : kFragmentings)
    exportsInStep(folder_, made(Options{"-ss", "1.52", "-i", file, "-c", "copy"} + fragmenting));
  EXPECT_NEAR(frameTimes(folder_.file("made.mp4")).at(0), -13 * kFrame, 0.001) << "hidden in the last one";
}

// Drift shows at the end of a longer source.
TEST_F(InStep, AtTheEndOfTwelveSeconds) {
  const std::string file = folder_.file("long.mp4");
  makeMedia(file, flashAndToneInputs(12, {"0.4", "11.75"}, "30000/1001") + h264Codec(30, 2) +
                      Options{"-c:a", "aac", "-ac", "2", "-ar", "44100"});
  staysInStep(file);
  exportsInStep(folder_, made(Options{"-i", file, "-c", "copy"} + kFragmented));
}

TEST_F(InStep, ExportedAudioOfASourceHonoursItsEditList) {
  const std::string file = source(2);
  const Options late = {"-i",   file,  "-itsoffset", "1",   "-i", file,
                        "-map", "0:v", "-map",       "1:a", "-c", "copy"};
  for (const char* flags : {"frag_keyframe+delay_moov", "frag_keyframe+empty_moov+default_base_moof"}) {
    const std::string fragmented = made(late + Options{"-movflags", flags});
    ASSERT_EQ(fmp4({"--quiet", "export", "--force", fragmented, "--audio", folder_.file("out.wav")}).exitCode,
              0);
    const auto tones = toneTimes(folder_.file("out.wav"));
    ASSERT_EQ(tones.size(), 3u);
    EXPECT_NEAR(tones[0], 1.4, 0.003) << flags;
    EXPECT_NEAR(tones[2], 4.6, 0.003) << flags;
  }
}

// Captions with the flashes at 1 and 2 s, in a track that begins with an empty edit of 1 s.
TEST_F(InStep, CaptionsWhoseTrackStartsLate) {
  std::ofstream(folder_.file("captions.scc")) << "Scenarist_SCC V1.0\n\n00:00:01:00\t9420 94ae\n\n"
                                                 "00:00:02:00\t942c\n\n";
  for (const int bFrames : {0, 2}) {
    const std::string video = folder_.file("video.mp4"), file = folder_.file("captions.mov");
    makeMedia(video, flashAndToneInputs(3, {"1", "2"}) + h264Codec(25, bFrames) + Options{"-c:a", "aac"});
    const Options captioned = {"-i", video, "-i",  folder_.file("captions.scc"), "-map", "0", "-map",
                               "1",  "-c",  "copy"};
    makeMedia(file, captioned);
    ASSERT_THAT(flashTimes(file), testing::ElementsAre(1, 2));
    ASSERT_EQ(fmp4({"--quiet", "package", "--force", file, "--output", folder_.file("out.mp4")}).exitCode, 0);
    const auto flashes = flashTimes(folder_.file("out.m4v"));
    ASSERT_EQ(flashes.size(), 2u);
    const auto captions = captionTimes(folder_.file("out.m4v"));
    ASSERT_EQ(captions.size(), 3u);
    EXPECT_NEAR(captions.at("9420"), flashes[0], kFrame / 2) << bFrames;
    EXPECT_NEAR(captions.at("94ae"), flashes[0] + kFrame, kFrame / 2) << bFrames;
    EXPECT_NEAR(captions.at("942c"), flashes[1], kFrame / 2) << bFrames;
    EXPECT_EQ(exportedCaptions(folder_.file("out.m4v"), folder_.file("out.json")), captions) << bFrames;
    const std::string source = folder_.file("source.mp4");
    makeMedia(folder_.file("fragmented.mov"), captioned + Options{"-movflags", "frag_keyframe+delay_moov"});
    std::filesystem::remove(source);  // mingw-w64's copy_file overwrites nothing
    std::filesystem::copy_file(folder_.file("fragmented.mov"), source);
    EXPECT_EQ(exportedCaptions(source, folder_.file("out.json")), captions) << bFrames;
  }
}

// ---- Audio that does not play with the chosen frames -------------------------------------------------

class ShortAudio : public testing::Test {
 protected:
  ShortAudio() {
    makeMedia(folder_.file("source.mp4"), videoInput(4, "25", "160x96") + toneInput(1) + h264Codec(25) +
                                              Options{"-c:a", "aac", "-ac", "2"});
  }
  TempFolder folder_;
};

TEST_F(ShortAudio, AStartPastItsEndMakesARecordingWithoutAudio) {
  for (const char* output : {"out.mp4", "both.ismv"}) {
    const RunResult result = fmp4({"--quiet", "package", folder_.file("source.mp4"), "--output",
                                   folder_.file(output), "--start", "50"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "fmp4: warning: no audio plays with the chosen frames; the recording has none\n");
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.m4a")));
  EXPECT_FALSE(std::filesystem::exists(folder_.file("outA.m3u8")));
  const auto manifest = readFile(folder_.file("out.mpd")), master = readFile(folder_.file("out.master.m3u8"));
  EXPECT_THAT(std::string(manifest.begin(), manifest.end()), Not(HasSubstr("<AdaptationSet/>")));
  EXPECT_THAT(std::string(master.begin(), master.end()), Not(HasSubstr("AUDIO")));
  EXPECT_EQ(ffprobePackets(folder_.file("out.m4v"), "v:0").size(), 50u);
  EXPECT_EQ(fmp4({"--quiet", "verify", folder_.file("out.mpd")}).exitCode, 0);
}

TEST_F(ShortAudio, IsLeftOutWhenItBeginsAfterTheChosenFrames) {
  makeMedia(folder_.file("late.mp4"),
            {"-i", folder_.file("source.mp4"), "-itsoffset", "2", "-i", folder_.file("source.mp4"), "-map",
             "0:v", "-map", "1:a", "-c", "copy"});
  const RunResult result = fmp4(
      {"--quiet", "package", folder_.file("late.mp4"), "--output", folder_.file("out.mp4"), "--count", "25"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.m4a")));
}

TEST_F(ShortAudio, IsKeptUpToItsEnd) {
  ASSERT_EQ(fmp4({"--quiet", "package", folder_.file("source.mp4"), "--output", folder_.file("out.mp4"),
                  "--start", "0", "--count", "75"})
                .exitCode,
            0);
  EXPECT_EQ(toneTimes(folder_.file("out.m4a")).size(), 1u);
  const RunResult verified = fmp4({"--quiet", "verify", folder_.file("out.mpd")});
  EXPECT_EQ(verified.exitCode, 0);
  EXPECT_THAT(verified.out,
              testing::AllOf(testing::StartsWith("note: the audio ends 1.9"),
                             HasSubstr(" s before the video\n"), HasSubstr(" is intact: 75 frames, ")));
}

}  // namespace

}  // namespace fmp4
