// Serving a folder over HTTP.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "fmp4.h"
#include "folder_recordings.h"
#include "support/temp_folder.h"
#include "web_server.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

void writeText(const std::filesystem::path& path, const std::string& text) {
  writeFile(path, {text.begin(), text.end()});
}

constexpr const char* kMaster = "#EXTM3U\nnews.m3u8\n";
constexpr const char* kOpen = "#EXTM3U\n#EXTINF:1.000,\nnews.m4v\n";
constexpr const char* kEnded = "#EXTM3U\n#EXTINF:1.000,\nnews.m4v\n#EXT-X-ENDLIST\n";

// A server over `media`, a folder inside `outside`, and a client of it.
class Serve : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(media_ / "sub");
    std::filesystem::create_directory(page_);
    writeText(media_ / "digits.m4v", "0123456789");
    writeText(media_ / "empty.m4v", "");
    writeText(media_ / "sub" / "inner.mpd", "inner");
    writeText(media_ / "a b+%ü.m3u8", "named");
    writeText(outside_.path() / "secret.m4v", "secret");
    writeText(page_ / "index.html", "<p>page</p>");
    writeText(page_ / "page.js", "script");
    server_.emplace(media_, page_);
    port_ = server_->start(0);
    client_.emplace("127.0.0.1", port_);
    client_->set_url_encode(false);  // paths go out as they stand
  }

  httplib::Response get(const std::string& path, const httplib::Headers& headers = {}) {
    const httplib::Result result = client_->Get(path, headers);
    EXPECT_EQ(result.error(), httplib::Error::Success) << path;
    return result ? *result : httplib::Response();
  }
  httplib::Response range(const std::string& range, const std::string& path = "/media/digits.m4v") {
    return get(path, {{"Range", range}});
  }

  TempFolder outside_;
  std::filesystem::path media_ = outside_.path() / "media", page_ = outside_.path() / "page";
  std::optional<WebServer> server_;
  std::optional<httplib::Client> client_;
  int port_ = 0;
};

TEST_F(Serve, GivesWholeFilesThatAreNotToBeKept) {
  const httplib::Response response = get("/media/digits.m4v");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "0123456789");
  EXPECT_EQ(response.get_header_value("Content-Length"), "10");
  EXPECT_EQ(response.get_header_value("Content-Type"), "video/mp4");
  EXPECT_EQ(response.get_header_value("Accept-Ranges"), "bytes");
  EXPECT_EQ(response.get_header_value("Cache-Control"), "no-store");
}

TEST_F(Serve, GivesEmptyFilesAndFilesOfSubfoldersAndOfAnyName) {
  EXPECT_EQ(get("/media/empty.m4v").status, 200);
  EXPECT_EQ(get("/media/empty.m4v").body, "");
  EXPECT_EQ(get("/media/sub/inner.mpd").body, "inner");
  EXPECT_EQ(get("/media/a%20b+%25%C3%BC.m3u8").body, "named");
}

TEST_F(Serve, HeadGivesTheHeadersOfTheWholeFileAlone) {
  const httplib::Result result = client_->Head("/media/digits.m4v", {{"Range", "bytes=2-3"}});
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(result->get_header_value("Content-Length"), "10");
  EXPECT_EQ(result->get_header_value_count("Accept-Ranges"), 1u);
  EXPECT_EQ(result->body, "");
}

struct RangeCase {
  const char* asked;
  const char* bytes;
  const char* contentRange;
};
class SatisfiableRange : public Serve, public testing::WithParamInterface<RangeCase> {};

TEST_P(SatisfiableRange, GivesItsBytes) {
  const httplib::Response response = range(GetParam().asked);
  EXPECT_EQ(response.status, 206);
  EXPECT_EQ(response.body, GetParam().bytes);
  EXPECT_EQ(response.get_header_value("Content-Range"), GetParam().contentRange);
  EXPECT_EQ(response.get_header_value("Content-Length"), std::to_string(response.body.size()));
}

INSTANTIATE_TEST_SUITE_P(Serve, SatisfiableRange,
                         testing::Values(RangeCase{"bytes=0-0", "0", "bytes 0-0/10"},
                                         RangeCase{"bytes=2-4", "234", "bytes 2-4/10"},
                                         RangeCase{"bytes=9-9", "9", "bytes 9-9/10"},
                                         RangeCase{"bytes=7-", "789", "bytes 7-9/10"},
                                         RangeCase{"bytes=7-10", "789", "bytes 7-9/10"},
                                         RangeCase{"bytes=0-4294967296", "0123456789", "bytes 0-9/10"},
                                         RangeCase{"bytes=-3", "789", "bytes 7-9/10"},
                                         RangeCase{"bytes=-11", "0123456789", "bytes 0-9/10"},
                                         RangeCase{"bytes=1-2,10-11", "12", "bytes 1-2/10"}));

class UnsatisfiableRange : public Serve, public testing::WithParamInterface<const char*> {};

TEST_P(UnsatisfiableRange, IsRefusedWithTheSize) {
  const httplib::Response response = range(GetParam());
  EXPECT_EQ(response.status, 416);
  EXPECT_EQ(response.get_header_value("Content-Range"), "bytes */10");
}

INSTANTIATE_TEST_SUITE_P(Serve, UnsatisfiableRange,
                         testing::Values("bytes=10-", "bytes=10-11", "bytes=-0", "bytes=11-12,13-"));

class MalformedRange : public Serve, public testing::WithParamInterface<const char*> {};

TEST_P(MalformedRange, IsRefused) {
  EXPECT_EQ(range(GetParam()).status, 416);
}

INSTANTIATE_TEST_SUITE_P(Serve, MalformedRange,
                         testing::Values("bytes=5-2", "bytes=x", "bytes=", "bytes=1-2-3", "lines=0-1",
                                         "bytes=99999999999999999999-", "bytes=0-99999999999999999999"));

TEST_F(Serve, AnswersSeveralRangesWithTheWholeFile) {
  const httplib::Response response = range("bytes=0-1,-2");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "0123456789");
  EXPECT_FALSE(response.has_header("Content-Range"));
}

TEST_F(Serve, RangesOfAnEmptyFileAreRefused) {
  EXPECT_EQ(range("bytes=0-", "/media/empty.m4v").status, 416);
}

TEST_F(Serve, GivesWhatAGrowingFileHoldsByThen) {
  EXPECT_EQ(range("bytes=8-").body, "89");
  std::ofstream(media_ / "digits.m4v", std::ios::app) << "ABC";
  const httplib::Response response = range("bytes=8-");
  EXPECT_EQ(response.body, "89ABC");
  EXPECT_EQ(response.get_header_value("Content-Range"), "bytes 8-12/13");
}

TEST_F(Serve, GivesLargeFilesInPieces) {
  std::vector<std::uint8_t> bytes(3'000'001);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  writeFile(media_ / "large.m4a", bytes);
  EXPECT_EQ(get("/media/large.m4a").body, std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(range("bytes=999999-2999999", "/media/large.m4a").body,
            std::string(bytes.begin() + 999999, bytes.begin() + 3000000));
}

class Escape : public Serve, public testing::WithParamInterface<const char*> {};

TEST_P(Escape, IsNotFound) {
  const httplib::Response response = get(GetParam());
  EXPECT_EQ(response.status, 404);
  EXPECT_THAT(response.body, testing::Not(HasSubstr("secret")));
}

INSTANTIATE_TEST_SUITE_P(Serve, Escape,
                         testing::Values("/media/../secret.m4v", "/media/%2e%2e/secret.m4v",
                                         "/media/%2E%2E%2Fsecret.m4v", "/media/sub/../../secret.m4v",
                                         "/media/..%5csecret.m4v", "/media/%252e%252e/secret.m4v",
                                         "/media//etc/hostname", "/media/%2fetc%2fhostname",
                                         "/page/../secret.m4v", "/page//etc/hostname", "/../secret.m4v",
                                         "/media/digits.m4v%00", "/media/", "/media/.", "/media/sub",
                                         "/media/digits.m4v/", "/media", "/secret.m4v", "/page/"));

TEST_F(Serve, LinksLeadNowhereOutsideTheFolder) {
  std::filesystem::create_symlink("../secret.m4v", media_ / "out.m4v");
  std::filesystem::create_symlink(outside_.path(), media_ / "up");
  std::filesystem::create_symlink("digits.m4v", media_ / "within.m4v");
  EXPECT_EQ(get("/media/out.m4v").status, 404);
  EXPECT_EQ(get("/media/up/secret.m4v").status, 404);
  EXPECT_EQ(get("/media/within.m4v").body, "0123456789");
}

TEST_F(Serve, FolderWithTheSameStartOfItsNameIsOutside) {
  std::filesystem::create_directory(outside_.path() / "mediaplus");
  writeText(outside_.path() / "mediaplus" / "secret.m4v", "secret");
  EXPECT_EQ(get("/media/../mediaplus/secret.m4v").status, 404);
}

TEST_F(Serve, PipesAreNotFiles) {
  ASSERT_EQ(mkfifo((media_ / "pipe.m4v").c_str(), 0600), 0);
  EXPECT_EQ(get("/media/pipe.m4v").status, 404);
}

TEST_F(Serve, LongPathsAreAnswered) {
  EXPECT_EQ(get("/media/" + std::string(8000, 'a')).status, 404);
  EXPECT_EQ(get("/media/" + std::string(100'000, 'a')).status, 414);
}

TEST_F(Serve, OtherMethodsAreRefused) {
  const httplib::Result result = client_->Post("/media/digits.m4v", "text", "text/plain");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 405);
  EXPECT_EQ(result->get_header_value("Allow"), "GET, HEAD");
  EXPECT_EQ(client_->Delete("/media/digits.m4v")->status, 405);
  EXPECT_EQ(get("/media/digits.m4v").body, "0123456789");
}

TEST_F(Serve, AnswersToTheLoopbackNamesAlone) {
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "localhost:1234"}}).status, 200);
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "127.0.0.1"}}).status, 200);
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "elsewhere.example"}}).status, 403);
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "localhost.elsewhere.example:80"}}).status, 403);
}

TEST_F(Serve, ListensOnTheLoopbackAddressAlone) {
  EXPECT_FALSE(httplib::Client("127.0.0.2", port_).Get("/"));
  EXPECT_FALSE(httplib::Client("::1", port_).Get("/"));
}

TEST_F(Serve, GivesThePageAndItsParts) {
  EXPECT_EQ(get("/").body, "<p>page</p>");
  EXPECT_EQ(get("/").get_header_value("Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(get("/page/page.js").get_header_value("Content-Type"), "text/javascript; charset=utf-8");
}

TEST_F(Serve, TypesFollowExtensions) {
  for (const auto& [name, type] :
       std::map<std::string, std::string>{{"x.mpd", "application/dash+xml"},
                                          {"x.xml", "application/dash+xml"},
                                          {"x.m3u8", "application/vnd.apple.mpegurl"},
                                          {"x.master.m3u8", "application/vnd.apple.mpegurl"},
                                          {"x.ismv", "video/mp4"},
                                          {"x.m4a", "audio/mp4"},
                                          {"x.other", "application/octet-stream"}}) {
    writeText(media_ / name, "x");
    EXPECT_EQ(get("/media/" + name).get_header_value("Content-Type"), type) << name;
  }
}

TEST_F(Serve, ListsRecordings) {
  writeText(media_ / "news.mpd", "<MPD/>");
  writeText(media_ / "news.m3u8", kOpen);
  writeText(media_ / "news.m4v", "12345");
  const httplib::Response response = get("/recordings.json");
  EXPECT_EQ(response.get_header_value("Content-Type"), "application/json");
  const auto list = nlohmann::json::parse(response.body);
  ASSERT_EQ(list.size(), 2u);  // and the playlist of another name
  EXPECT_EQ(list[1], nlohmann::json::parse(R"({"name": "news", "manifest": "news.mpd",
      "playlist": "news.m3u8", "soundPlaylist": "", "bytes": 5, "inProgress": true})"));
}

// One line a recording: name, manifest, playlist, playlist of sound, bytes, whether it goes on.
std::vector<std::string> listed(const TempFolder& folder) {
  std::vector<std::string> lines;
  for (const FolderRecording& each : listRecordings(folder.path()))
    lines.push_back(each.name + " " + each.manifest + " " + each.playlist + " " + each.soundPlaylist + " " +
                    std::to_string(each.bytes) + (each.inProgress ? " open" : ""));
  return lines;
}

TEST(RecordingList, JoinsTheFilesOfARecording) {
  const TempFolder folder;
  writeText(folder.file("news.mpd"), "<MPD/>");
  writeText(folder.file("news.m3u8"), kEnded);
  writeText(folder.file("newsA.m3u8"), kEnded);
  writeText(folder.file("news.master.m3u8"), kMaster);
  writeText(folder.file("news.m4v"), "12345");
  writeText(folder.file("news.m4a"), "123");
  EXPECT_THAT(listed(folder), ElementsAre("news news.mpd news.master.m3u8 newsA.m3u8 8"));
}

TEST(RecordingList, TellsRecordingsThatHaveNotEnded) {
  const TempFolder folder;
  writeText(folder.file("news.m3u8"), kOpen);
  writeText(folder.file("early.m3u8"), "#EXTM3U\n");
  EXPECT_THAT(listed(folder), ElementsAre("early  early.m3u8  0 open", "news  news.m3u8  0 open"));
}

TEST(RecordingList, NameThatEndsInAIsARecordingWhenItHasVideo) {
  const TempFolder folder;
  for (const char* name : {"x.m3u8", "xA.m3u8", "xAA.m3u8"}) writeText(folder.file(name), kEnded);
  writeText(folder.file("xA.m4v"), "1");
  EXPECT_THAT(listed(folder), ElementsAre("x  x.m3u8 xA.m3u8 0", "xA  xA.m3u8 xAA.m3u8 1"));
}

TEST(RecordingList, XmlIsARecordingWhenItIsAManifest) {
  const TempFolder folder;
  writeText(folder.file("smooth.xml"), "<?xml version=\"1.0\"?>\n<MPD xmlns=\"x\"/>");
  writeText(folder.file("other.xml"), "<feed/>");
  EXPECT_THAT(listed(folder), ElementsAre("smooth smooth.xml   0"));
}

TEST(RecordingList, FolderWithoutRecordingsGivesAnEmptyList) {
  const TempFolder folder;
  writeText(folder.file("notes.txt"), "x");
  EXPECT_THAT(listRecordings(folder.path()), IsEmpty());
  EXPECT_THAT(listRecordings(folder.path() / "missing"), IsEmpty());
  EXPECT_EQ(recordingsJson({}), "[]");
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

TEST(ServeCommand, PortInUseIsExplained) {
  const TempFolder folder;
  WebServer other(folder.path(), folder.path());
  const std::string port = std::to_string(other.start(0));
  const RunResult result = fmp4({"serve", folder.path().string(), "--port", port});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: port " + port +
                            " cannot be had; is it in use? Give another with --port, 0 takes a free one\n");
}

TEST(ServeCommand, FolderThatIsNoneIsExplained) {
  const TempFolder folder;
  writeText(folder.file("file"), "x");
  for (const auto& [name, why] :
       {std::pair("missing", "No such file or directory"), {"file", "Not a directory"}}) {
    const RunResult result = fmp4({"serve", folder.file(name), "--port", "0"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "fmp4: the folder '" + folder.file(name) + "' cannot be read (" + why +
                              "); check the name and its permissions\n");
  }
}

}  // namespace
