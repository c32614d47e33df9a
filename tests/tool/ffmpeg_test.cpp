// FFmpeg's libraries where users put them: beside the program.
#include "tests/support/ffmpeg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/audio/ffmpeg_place.h"
#include "tests/support/box_builder.h"
#include "tests/support/environment.h"
#include "tests/support/fragments.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

#if defined(_WIN32)
constexpr const char* kProgram[] = {"fmp4.exe", "vlhost.dll", "vlx_fmp4.dll"};
#else
constexpr const char* kProgram[] = {"fmp4", "libvlhost.so", "vlx_fmp4.so"};
#endif

// The program with its libraries in a folder of its own, and a clip with audio.
struct Installed {
  TempFolder folder;
  std::string clip = folder.file("clip.mp4");

  Installed() {
    for (const char* file : kProgram) fs::copy_file(fs::path(VL_BIN_DIR) / file, folder.path() / file);
    makeMedia(clip, toneInput(1) + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  }
  static void putFFmpegIn(const fs::path& place) {
    fs::create_directories(place);
    for (const char* file : {kAvcodecFile, kAvutilFile})
      fs::copy_file(fs::path(VL_BIN_DIR) / "ffmpeg_stand_in" / file, place / file);
  }
  // Runs the program with its own settings store.
  RunResult fmp4(std::vector<std::string> arguments) const {
    const Environment store("VLHOST_CONFIG", folder.file("vlhost.conf").c_str());
    arguments.insert(arguments.begin(), folder.file("fmp4"));
    return run(arguments);
  }
  // What `fmp4 info` logs.
  std::string log() const {
    const RunResult result = fmp4({"--verbose", "info", clip});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.err;
  }
};

TEST(FFmpeg, IsFoundBesideTheProgramBeforeItsFormatsFolder) {
  const Installed installed;
  EXPECT_THAT(installed.log(), HasSubstr("FFMPEG DLLs (AvCodec) will not load"));
  installed.putFFmpegIn(installed.folder.path() / "Extended_formats");
  EXPECT_THAT(installed.log(), HasSubstr("\n FFMPEG Version of a stand-in (log taken, level 48). "));
  installed.putFFmpegIn(installed.folder.path());
  // The libraries in the folder are no longer usable.
  for (const auto& file : fs::directory_iterator(installed.folder.path() / "Extended_formats"))
    fs::resize_file(file, 0);
  EXPECT_THAT(installed.log(), HasSubstr("\n FFMPEG Version of a stand-in (log taken, level 48). "));
}

TEST(FFmpeg, IsNotFoundInTheWorkingFolder) {
  const Installed installed;
  const TempFolder downloads;
  Installed::putFFmpegIn(downloads.path());
  Installed::putFFmpegIn(downloads.path() / "Extended_formats");
  fs::copy_file(installed.clip, downloads.path() / "clip.mp4");
  const fs::path before = fs::current_path();
  fs::current_path(downloads.path());
  const RunResult result = installed.fmp4({"--verbose", "info", "clip.mp4"});
  fs::current_path(before);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("FFMPEG DLLs (AvCodec) will not load"));
  EXPECT_THAT(result.err, Not(HasSubstr("avcodec loaded")));
}

// ---- AC-3 --------------------------------------------------------------------------------------------

// One second of AC-3 at 192 kbit/s, encoded by ffmpeg and split into sync frames.
std::vector<Bytes> syncFrames() {
  constexpr std::size_t kFrameBytes = 768;
  const TempFolder folder;
  makeMedia(folder.file("tone.ac3"),
            toneInput(1) + std::vector<std::string>{"-c:a", "ac3", "-ac", "2", "-b:a", "192k"});
  const Bytes stream = readFile(folder.file("tone.ac3"));
  EXPECT_EQ(stream.size() % kFrameBytes, 0u);
  std::vector<Bytes> frames;
  for (auto at = stream.begin(); at != stream.end(); at += kFrameBytes)
    frames.emplace_back(at, at + kFrameBytes);
  return frames;
}

// A fragmented file with one of these frames per access unit, each followed by extra bytes.
Bytes fileOf(const std::vector<Bytes>& frames, std::size_t bytesAfter) {
  RunSpec units{kRunDataOffset | kRunSize | kRunDuration};
  for (const Bytes& frame : frames) units.samples.push_back({join({frame, zeros(bytesAfter)}), 1536});
  TrafSpec track;
  track.trackId = 2;
  track.runs = {units};
  const TrackSpec audio{2, "soun", 48000, audioEntry("ac-3", 2, 16, 48000), 1536};
  return join({fileTypeBox(), movieBox({audio}), fragment(1, {track})});
}

TEST(FFmpeg, Ac3UnitsWithTrailingBytesDecodeFullyWithAndWithoutIt) {
  const Installed installed;
  const std::vector<Bytes> frames = syncFrames();
  ASSERT_EQ(frames.size(), 32u);
  for (const bool hasFFmpeg : {false, true}) {
    if (hasFFmpeg) Installed::putFFmpegIn(installed.folder.path());
    std::vector<Bytes> audioUnits;
    for (const std::size_t bytesAfter : {0u, 2u, 100u}) {
      const std::string file = installed.folder.file("units.mp4"),
                        audioFile = installed.folder.file("units.wav");
      writeFile(file, fileOf(frames, bytesAfter));
      const RunResult result = installed.fmp4({"--verbose", "export", file, "--force", "--audio", audioFile});
      EXPECT_EQ(result.exitCode, 0) << result.err;
      EXPECT_EQ(result.err.find("eac3 opened") != std::string::npos, hasFFmpeg);
      audioUnits.push_back(readFile(audioFile));
    }
    constexpr std::size_t kUnitBytes = 1536 * 4;
    ASSERT_GE(audioUnits[0].size(), frames.size() * kUnitBytes);
    EXPECT_EQ(audioUnits[1], audioUnits[0]);
    EXPECT_EQ(audioUnits[2], audioUnits[0]);
    // The stand-in library outputs the first checksum of each frame.
    const std::size_t start = audioUnits[0].size() - frames.size() * kUnitBytes;
    for (std::size_t unit = 0; hasFFmpeg && unit < frames.size(); ++unit) {
      EXPECT_EQ(audioUnits[0][start + unit * kUnitBytes], frames[unit][3]) << unit;
      EXPECT_EQ(audioUnits[0][start + unit * kUnitBytes + 1], frames[unit][2]) << unit;
    }
  }
}

// ---- The setting -------------------------------------------------------------------------------------

TEST(FFmpeg, IsNotLoadedWhenDisabledInTheStore) {
  const Installed installed;
  installed.putFFmpegIn(installed.folder.path());
  const std::string store = "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=0\n";
  writeFile(installed.folder.file("vlhost.conf"), {store.begin(), store.end()});
  const std::string log = installed.log();
  EXPECT_THAT(log,
              HasSubstr("CAUTION(vlx_Fmp4): FFMPEG codecs disabled, some codecs will not be available\n"));
  EXPECT_THAT(log, Not(HasSubstr("avcodec loaded")));
}

}  // namespace

}  // namespace fmp4
