// Serving folders with links and pipes in them, and until a signal ends it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tests/support/places.h"
#include "tests/support/run.h"
#include "tests/tool/serving.h"

namespace fmp4 {

namespace {

TEST_F(Serve, LinksOutOfTheFolderAreNotFollowed) {
  std::filesystem::create_symlink("../secret.m4v", media_ / "out.m4v");
  std::filesystem::create_symlink(outside_.path(), media_ / "up");
  std::filesystem::create_symlink("digits.m4v", media_ / "within.m4v");
  EXPECT_EQ(get("/media/out.m4v").status, 404);
  EXPECT_EQ(get("/media/up/secret.m4v").status, 404);
  EXPECT_EQ(get("/media/within.m4v").body, "0123456789");
}

TEST_F(Serve, PipesAreNotFiles) {
  ASSERT_EQ(mkfifo((media_ / "pipe.m4v").c_str(), 0600), 0);
  EXPECT_EQ(get("/media/pipe.m4v").status, 404);
}

// Starts the program on a free port, waits for its line and sends it `signal`.
RunResult serveUntil(const std::string& signal, const TempFolder& folder, const std::string& option = "") {
  return run({"sh", "-c",
              VL_BIN_DIR "/fmp4 serve " + folder.path().string() + " --port 0 " + option + " >" +
                  folder.file("out") + " & until grep -qs http " + folder.file("out") +
                  "; do sleep 0.05; done; kill -" + signal + " $!; wait $!; code=$?; cat " +
                  folder.file("out") + "; exit $code"});
}

TEST(ServeCommand, PrintsItsAddressAndEndsCleanlyOnSignals) {
  for (const char* signal : {"INT", "TERM"}) {
    const TempFolder folder;
    const RunResult result = serveUntil(signal, folder);
    EXPECT_EQ(result.exitCode, 0) << signal;
    EXPECT_THAT(result.out, testing::MatchesRegex("serving '" + folder.path().string() +
                                                  "' at http://127.0.0.1:[0-9]+/ until interrupted\n"));
    EXPECT_EQ(result.err, "");
  }
}

TEST(ServeCommand, PrintsItsAddressAsJson) {
  const TempFolder folder;
  const auto line = nlohmann::json::parse(serveUntil("INT", folder, "--json").out);
  EXPECT_EQ(line["folder"], folder.path().string());
  EXPECT_EQ(line["address"], "http://127.0.0.1:" + std::to_string(line["port"].get<int>()) + "/");
}

}  // namespace

}  // namespace fmp4
