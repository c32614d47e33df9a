// Recordings that signals and full disks end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <set>

#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

std::set<std::string> namesIn(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

class EndedRecording : public testing::Test {
 protected:
  EndedRecording() {
    // Long enough that it is being recorded when it is ended: 17 minutes.
    makeMedia(media_.file("clip.mp4"), videoInput(10, "25", "160x96") + toneInput(10) + h264Codec(2, 0) +
                                           std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-stream_loop", "100", "-i", media_.file("clip.mp4"),
                "-c", "copy", media_.file("long.mp4")});
  }

  // Packages the source, and sends `signal` when a part is recorded. Returns how the program ended.
  int endedBy(int signal) {
    const std::string source = media_.file("long.mp4"), output = folder_.file("out.mp4"),
                      errors = media_.file("errors");
    const pid_t child = fork();
    if (child == 0) {
      if (!freopen(errors.c_str(), "w", stderr) || !freopen("/dev/null", "w", stdout)) _exit(126);
      execl(VL_BIN_DIR "/fmp4", "fmp4", "--quiet", "package", source.c_str(), "--output", output.c_str(),
            nullptr);
      _exit(127);
    }
    const std::string listed = folder_.file("out.m3u8");
    std::error_code ignored;
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
      if (std::filesystem::exists(listed, ignored) && std::filesystem::file_size(listed, ignored) > 300) {
        kill(child, signal);
        waitpid(child, &status, 0);
        break;
      }
      usleep(1000);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  std::string errors() const {
    const auto bytes = readFile(media_.file("errors"));
    return {bytes.begin(), bytes.end()};
  }

  TempFolder media_, folder_;
};

TEST_F(EndedRecording, BySignalsIsIntactAndHasNoOtherFiles) {
  for (const int signal : {SIGINT, SIGTERM}) {
    EXPECT_EQ(endedBy(signal), 1);
    EXPECT_THAT(errors(),
                testing::ContainsRegex("fmp4: interrupted; the recording ends after [0-9]+ frames\n"));
    const RunResult found = fmp4({"verify", folder_.file("out.mpd")});
    EXPECT_EQ(found.exitCode, 0) << found.out;
    EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"out.m4v", "out.m4a", "out.mpd", "out.m3u8",
                                                              "outA.m3u8", "out.master.m3u8"}));
    for (const std::string& name : namesIn(folder_.path())) std::filesystem::remove(folder_.file(name));
  }
}

TEST_F(EndedRecording, ByAKilledProcessIsRepaired) {
  EXPECT_EQ(endedBy(SIGKILL), 128 + SIGKILL);
  EXPECT_EQ(fmp4({"verify", folder_.file("out.mpd")}).exitCode, 1);
  const RunResult repaired = fmp4({"repair", folder_.file("out.mpd")});
  EXPECT_EQ(repaired.exitCode, 0) << repaired.err;
  EXPECT_EQ(namesIn(folder_.path()),
            (std::set<std::string>{"out.m4v", "out.m4a", "out.mpd", "out.m3u8", "outA.m3u8"}));
}

// The limit of a file's size stands for a full disk.
TEST_F(EndedRecording, ByAFailedWriteNamesTheReasonAndTheRemedy) {
  const RunResult result =
      run({"sh", "-c",
           "trap '' XFSZ; ulimit -f 200; exec " VL_BIN_DIR "/fmp4 --quiet package '" +
               media_.file("clip.mp4") + "' --output '" + folder_.file("out.mp4") + "'"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr(" of '" + folder_.file("out.mp4") +
                                    "' could not be written: File too large; 'fmp4 repair' keeps what has "
                                    "been recorded\n"));
  EXPECT_EQ(fmp4({"repair", folder_.file("out.mpd")}).exitCode, 0);
}

}  // namespace

}  // namespace fmp4
