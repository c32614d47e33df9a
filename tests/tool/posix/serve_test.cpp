// Serving folders with links and pipes in them, and until a signal ends it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <regex>

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
  EXPECT_EQ(get("/data/describe/out.m4v").status, 404);
}

TEST_F(Serve, LinksOutOfTheFolderAreNotListed) {
  std::filesystem::create_symlink("../secret.m4v", media_ / "out.m4v");
  std::filesystem::create_symlink(outside_.path(), media_ / "up");
  std::filesystem::create_symlink("sub", media_ / "within");
  const auto list = nlohmann::json::parse(get("/files.json").body);
  EXPECT_EQ(list["folders"], nlohmann::json::parse(R"(["sub", "within"])"));
  for (const auto& file : list["files"]) EXPECT_NE(file["name"], "out.m4v");
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

void addRecording(const TempFolder& folder, const std::string& name) {
  for (const char* extension : {".mpd", ".m3u8", ".master.m3u8"})
    writeText(folder.path() / vlPath(name + extension), "<MPD/>");
}

TEST(ServeCommand, PrintsTheAddressesOfItsRecordings) {
  const TempFolder folder;
  addRecording(folder, "a b#\u00fc\xff");  // the last byte is not UTF-8
  writeText(folder.path() / "open.m3u8", "#EXTM3U\n");
  const std::string text = std::regex_replace(serveUntil("INT", folder).out, std::regex(":[0-9]+/"), ":1/");
  EXPECT_EQ(text, "serving '" + folder.path().string() +
                      "' at http://127.0.0.1:1/ until interrupted\n"
                      "for players:\n"
                      "  http://127.0.0.1:1/media/a%20b%23%C3%BC%FF.mpd\n"
                      "  http://127.0.0.1:1/media/a%20b%23%C3%BC%FF.master.m3u8\n"
                      "  http://127.0.0.1:1/media/open.m3u8\n");
}

TEST(ServeCommand, PrintsItsAddressesAsJson) {
  const TempFolder folder;
  addRecording(folder, "news");
  writeText(folder.path() / "open.m3u8", "#EXTM3U\n");
  const auto line = nlohmann::json::parse(serveUntil("INT", folder, "--json").out);
  EXPECT_EQ(line["folder"], folder.path().string());
  const std::string address = "http://127.0.0.1:" + std::to_string(line["port"].get<int>()) + "/";
  EXPECT_EQ(line["address"], address);
  EXPECT_EQ(
      line["recordings"],
      (nlohmann::json{{{"name", "news"},
                       {"manifest", address + "media/news.mpd"},
                       {"playlist", address + "media/news.master.m3u8"}},
                      {{"name", "open"}, {"manifest", nullptr}, {"playlist", address + "media/open.m3u8"}}}));
}

TEST(ServeCommand, PrintsTheAddressesOfTenRecordings) {
  const TempFolder folder;
  for (int i = 10; i < 22; ++i) addRecording(folder, "news" + std::to_string(i));
  const std::string text = serveUntil("INT", folder).out;
  EXPECT_THAT(text, testing::HasSubstr("/media/news19.master.m3u8\n"
                                       "  and those of 2 more, which the page and --json give\n"));
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("news20")));
}

// What stands in for the browser: notes its arguments and its files.
void installBrowser(const TempFolder& folder, int exitCode) {
  const std::filesystem::path program = folder.path() / "programs" / "xdg-open";
  std::filesystem::create_directories(program.parent_path());
  writeText(program, "#!/bin/sh\necho \"$#\" \"$@\" > " + folder.file("noted") +
                         "\nreadlink /proc/$$/fd/* > " + folder.file("files") + "\nmv " +
                         folder.file("noted") + " " + folder.file("opened") + "\nexit " +
                         std::to_string(exitCode) + "\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
}

std::string textOf(const std::string& file) {
  const std::vector<std::uint8_t> bytes = readFile(file);
  return {bytes.begin(), bytes.end()};
}

// Serves with --open and the programs of `path` until `done`, a condition of a shell.
RunResult serveAndOpen(const TempFolder& folder, const std::string& path, const std::string& done) {
  const std::string served = folder.file("a'; touch x; `touch y` $(touch z)");
  std::filesystem::create_directory(served);
  return run({"env", "-C", folder.path().string(), "sh", "-c",
              "PATH=" + path + " " VL_BIN_DIR "/fmp4 serve \"$1\" --port 0 --open >out 2>err & until " +
                  done +
                  "; do sleep 0.05; done; kill -INT $!; wait $!; code=$?; cat out; cat err >&2; exit $code",
              "sh", served});
}

TEST(ServeCommand, OpensItsPageInTheBrowser) {
  const TempFolder folder;
  installBrowser(folder, 0);
  const RunResult result = serveAndOpen(folder, folder.file("programs") + ":/usr/bin:/bin", "[ -e opened ]");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  const std::string opened = textOf(folder.file("opened")), files = textOf(folder.file("files"));
  EXPECT_THAT(opened, testing::MatchesRegex("1 http://127.0.0.1:[0-9]+/\n"));
  EXPECT_THAT(result.out, testing::HasSubstr(opened.substr(2, opened.size() - 3)));
  EXPECT_THAT(files, testing::Not(testing::HasSubstr("socket")))
      << "the port would stay in use with the browser";
  for (const char* name : {"x", "y", "z"}) EXPECT_FALSE(std::filesystem::exists(folder.path() / name));
}

TEST(ServeCommand, WarnsWithoutABrowserAndServes) {
  const TempFolder folder;
  installBrowser(folder, 3);
  for (const std::string& path : {std::string("/nowhere"), folder.file("programs") + ":/usr/bin:/bin"}) {
    std::filesystem::remove(folder.file("err"));
    const RunResult result = serveAndOpen(folder, path, "[ -s err ]");
    EXPECT_EQ(result.exitCode, 0) << path;
    EXPECT_THAT(result.err, testing::MatchesRegex("fmp4: warning: no browser could be started; open "
                                                  "http://127.0.0.1:[0-9]+/ in one\n"));
    std::filesystem::remove_all(folder.file("a'; touch x; `touch y` $(touch z)"));
  }
}

}  // namespace

}  // namespace fmp4
