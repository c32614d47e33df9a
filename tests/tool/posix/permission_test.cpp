// Files and folders that may not be read or written, and a system that opens no more files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

// Runs the program without the right of the system's administrator to pass over permissions.
RunResult restricted(const std::vector<std::string>& arguments) {
  std::vector<std::string> command;
  if (geteuid() == 0) command = {"setpriv", "--bounding-set=-dac_override,-dac_read_search"};
  command.emplace_back(VL_BIN_DIR "/fmp4");
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run(command);
}

constexpr fs::perms kReadOnly = fs::perms::owner_read | fs::perms::owner_exec;

class Permission : public testing::Test {
 protected:
  Permission() {
    makeMedia(folder_.file("source.mp4"), videoInput(1, "25", "160x96") + toneInput(1) + h264Codec(5, 0) +
                                              std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    fs::create_directory(folder_.file("rec"));
    runOrThrow({VL_BIN_DIR "/fmp4", "--quiet", "package", folder_.file("source.mp4"), "--output",
                folder_.file("rec/out.mp4")});
  }
  ~Permission() override { fs::permissions(folder_.file("rec"), fs::perms::owner_all); }

  TempFolder folder_;
};

TEST_F(Permission, ToReadIsNamedWhenItLacks) {
  const std::string file = folder_.file("source.mp4"), audio = folder_.file("rec/out.m4a");
  fs::permissions(file, fs::perms::none);
  for (const char* command : {"info", "frames", "boxes", "probe"})
    EXPECT_EQ(restricted({"--quiet", command, file}).err,
              "fmp4: '" + file + "' cannot be read: Permission denied\n")
        << command;
  EXPECT_EQ(restricted({"--quiet", "package", file, "--output", folder_.file("b.mp4")}).err,
            "fmp4: '" + file + "' cannot be read: Permission denied\n");
  fs::permissions(audio, fs::perms::none);
  for (const char* command : {"verify", "repair"})
    EXPECT_EQ(restricted({command, folder_.file("rec/out.mpd")}).err,
              "fmp4: '" + audio + "' cannot be opened: Permission denied\n");
}

TEST_F(Permission, ToWriteIsNamedWhenItLacks) {
  const std::string media = folder_.file("rec/out.m4v"), list = folder_.file("rec/out.m3u8");
  fs::remove(list);
  fs::permissions(folder_.file("rec"), kReadOnly);
  EXPECT_EQ(
      restricted({"repair", media}).err,
      "fmp4: '" + list +
          "' could not be written: Permission denied; change its permissions or those of its folder and "
          "repair again; nothing is lost\n");
  EXPECT_EQ(
      restricted({"--quiet", "package", folder_.file("source.mp4"), "-o", folder_.file("rec/b.mp4")}).err,
      "fmp4: '" + folder_.file("rec/b.mp4") +
          "' cannot be created: Permission denied; check the folder, its permissions and the space on "
          "it\n");
  fs::permissions(folder_.file("rec"), fs::perms::owner_all);
  fs::resize_file(media, fs::file_size(media) - 1);
  fs::permissions(media, fs::perms::owner_read);
  EXPECT_THAT(restricted({"repair", media}).err,
              HasSubstr("out.m4v' could not be written: Permission denied; "
                        "change its permissions"));
}

TEST(DescriptorLimit, IsNoRefusal) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  std::string command = "ulimit -n 20; exec " VL_BIN_DIR "/fmp4 --quiet probe";
  for (int i = 0; i < 30; ++i) command += " '" + file + "'";
  const RunResult result = run({"sh", "-c", command});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, testing::StartsWith("accepted "));
  EXPECT_THAT(result.out, Not(HasSubstr("refused")));
  EXPECT_EQ(result.err,
            "fmp4: too many files are open: each accepted one stays so; probe fewer at a time, or raise the "
            "limit (ulimit -n)\n");
}

}  // namespace

}  // namespace fmp4
