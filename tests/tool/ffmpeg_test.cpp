// FFmpeg's libraries where users put them: beside the program.
#include "support/ffmpeg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "audio/ffmpeg_place.h"
#include "places.h"
#include "support/environment.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

#if defined(_WIN32)
constexpr const char* kProgram[] = {"fmp4.exe", "vlhost.dll", "vlx_fmp4.dll"};
#else
constexpr const char* kProgram[] = {"fmp4", "libvlhost.so", "vlx_fmp4.so"};
#endif

// The program with its libraries in a folder of its own, and a clip with sound.
struct Installed {
  TempFolder folder;
  std::string clip = folder.file("clip.mp4");

  Installed() {
    for (const char* file : kProgram) fs::copy_file(fs::path(VL_BIN_DIR) / file, folder.path() / file);
    makeMedia(clip, toneInput(1) + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  }
  void putFFmpegIn(const fs::path& place) const {
    fs::create_directories(place);
    for (const char* file : {kAvcodecFile, kAvutilFile})
      fs::copy_file(fs::path(VL_BIN_DIR) / "ffmpeg_stand_in" / file, place / file);
  }
  // What `fmp4 info` logs, with a store of its own.
  std::string log() const {
    const Environment store("VLHOST_CONFIG", folder.file("vlhost.conf").c_str());
    const RunResult result = run({folder.file("fmp4"), "info", clip});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.err;
  }
};

TEST(FFmpeg, IsFoundBesideTheProgramAheadOfItsFormatsFolder) {
  const Installed installed;
  EXPECT_THAT(installed.log(), HasSubstr("FFMPEG DLLs (AvCodec) will not load"));
  installed.putFFmpegIn(installed.folder.path() / "Extended_formats");
  EXPECT_THAT(installed.log(), HasSubstr("\n FFMPEG Version of a stand-in (log taken, level 48). "));
  installed.putFFmpegIn(installed.folder.path());
  // Nothing is to be had from the folder any more.
  for (const auto& file : fs::directory_iterator(installed.folder.path() / "Extended_formats"))
    fs::resize_file(file, 0);
  EXPECT_THAT(installed.log(), HasSubstr("\n FFMPEG Version of a stand-in (log taken, level 48). "));
}

TEST(FFmpeg, SwitchedOffInTheStoreIsNotLoaded) {
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
