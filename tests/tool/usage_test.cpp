#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kWrongUsage = 2;

class WrongUsage : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongUsage, ExitsWithTwoAndExplainsOnStandardError) {
  const RunResult result = fmp4(GetParam());
  EXPECT_EQ(result.exitCode, kWrongUsage);
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_THAT(result.err, HasSubstr("--help"));
}

INSTANTIATE_TEST_SUITE_P(
    Usage, WrongUsage,
    testing::Values(
        std::vector<std::string>{}, std::vector<std::string>{"nonsense"},
        std::vector<std::string>{"--nonsense"}, std::vector<std::string>{"probe"},
        std::vector<std::string>{"info"}, std::vector<std::string>{"frames", "one", "two"},
        std::vector<std::string>{"frames", "file", "--from", "-1"},
        std::vector<std::string>{"frames", "file", "--from", "x"},
        std::vector<std::string>{"frames", "file", "--from", "4294967296"},
        std::vector<std::string>{"frames", "file", "--count", "0"},
        std::vector<std::string>{"frames", "file", "--random"}, std::vector<std::string>{"export", "file"},
        std::vector<std::string>{"export", "--video", "out"}, std::vector<std::string>{"serve"},
        std::vector<std::string>{"serve", "folder", "--port", "65536"},
        std::vector<std::string>{"package", "file"}, std::vector<std::string>{"package", "--output", "out"},
        std::vector<std::string>{"package", "file", "--output", "out", "--gop", "0"},
        std::vector<std::string>{"boxes"}, std::vector<std::string>{"verify"},
        std::vector<std::string>{"repair"}, std::vector<std::string>{"repair", "--decode", "file"},
        std::vector<std::string>{"version", "file"}, std::vector<std::string>{"probe", "--plugin"}));

TEST(Usage, AskedForAnUnknownCommandItNamesTheClosest) {
  const RunResult result = fmp4({"--quiet", "infos", "file"});
  EXPECT_EQ(result.exitCode, kWrongUsage);
  EXPECT_EQ(result.err,
            "fmp4: there is no command 'infos'; did you mean 'info'? fmp4 --help lists the commands\n");
  EXPECT_EQ(fmp4({"transmogrify"}).err,
            "fmp4: there is no command 'transmogrify'; fmp4 --help lists the commands\n");
}

TEST(Usage, HelpIsACommandToo) {
  EXPECT_EQ(fmp4({"help"}).out, fmp4({"--help"}).out);
  EXPECT_EQ(fmp4({"help", "frames"}).out, fmp4({"frames", "--help"}).out);
  EXPECT_EQ(fmp4({"help", "nonsense"}).exitCode, kWrongUsage);
}

TEST(Usage, APlaceThatIsNoneIsExplained) {
  const RunResult result = fmp4({"frames", "file", "--from", "12:"});
  EXPECT_EQ(result.exitCode, kWrongUsage);
  EXPECT_THAT(result.err, HasSubstr("'12:' is no place in a file; give a frame number"));
}

class Help : public testing::TestWithParam<std::string> {};

TEST_P(Help, IsPrintedOnStandardOutput) {
  const RunResult result = fmp4({GetParam(), "--help"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("Usage: fmp4 " + GetParam()));
  EXPECT_THAT(result.err, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Usage, Help,
                         testing::Values("probe", "info", "frames", "export", "package", "boxes", "verify",
                                         "repair", "serve", "version"),
                         [](const auto& info) { return info.param; });

TEST(Usage, HelpListsEveryCommand) {
  const RunResult result = fmp4({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, IsEmpty());
  for (const char* command : {"--plugin", "--quiet", "probe", "info", "frames", "export", "package", "boxes",
                              "verify", "repair", "serve", "version"})
    EXPECT_THAT(result.out, HasSubstr(command));
}

TEST(Usage, GlobalOptionsMayFollowTheCommand) {
  const RunResult result = fmp4({"version", "--plugin", "no-such-plugin"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: the plug-in 'no-such-plugin' cannot be loaded; give its path with --plugin\n");
}

TEST(Usage, PluginIsLoadedFromAPath) {
  EXPECT_EQ(fmp4({"--plugin", VL_BIN_DIR "/vlx_fmp4", "version"}).exitCode, 0);
}

// As on any command line, although the host itself does not search there.
TEST(Usage, PluginPathIsRelativeToTheWorkingFolder) {
  const std::filesystem::path bin = VL_BIN_DIR, before = std::filesystem::current_path();
  std::filesystem::current_path(bin.parent_path());
  const RunResult result = fmp4({"--plugin", (bin.filename() / "vlx_fmp4").string(), "version"});
  std::filesystem::current_path(before);
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST(Usage, RefusesALibraryThatIsNotAPlugin) {
  const std::string library = VL_BIN_DIR "/vlhost";
  const RunResult result = fmp4({"--plugin", library, "version"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + library +
                            "' is not a media-file plug-in: it does not export xCheckVersionAndFile; "
                            "give --plugin the path of vlx_fmp4\n");
}

TEST(Usage, ReportsANameTooLongForTheHost) {
  const std::string name(300, 'a');
  const RunResult result = fmp4({"--quiet", "info", "--plugin", "vlx_fmp4", name});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + name +
                            "' is too long a name: the host takes 259 characters; change to its folder and "
                            "give a shorter one\n");
}

}  // namespace

}  // namespace fmp4
