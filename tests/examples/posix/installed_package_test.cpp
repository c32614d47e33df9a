#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/places.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

void expectSuccess(const std::vector<std::string>& command) {
  const RunResult result = run(command);
  ASSERT_EQ(result.exitCode, 0) << result.out << result.err;
}

// A project outside this one finds the installed host library, builds the examples against it and runs them.
TEST(InstalledPackage, BuildsTheExamples) {
  const TempFolder folder;
  const std::string root = folder.file("root"), build = folder.file("build");
  expectSuccess({"cmake", "--install", VL_BUILD_DIR, "--prefix", root});
  expectSuccess(
      {"cmake", "-G", "Ninja", "-S", VL_SOURCE_DIR "/examples", "-B", build, "-DCMAKE_PREFIX_PATH=" + root});
  expectSuccess({"cmake", "--build", build});
  const RunResult refused = run({build + "/example_describe", VL_SOURCE_DIR "/README.md"});
  EXPECT_EQ(refused.out, "refused\n");
  EXPECT_EQ(refused.exitCode, 1);
  const RunResult version = run({root + "/bin/fmp4", "version"});
  EXPECT_EQ(version.exitCode, 0) << version.err;
}

}  // namespace

}  // namespace fmp4
