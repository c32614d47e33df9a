// Serving a folder over HTTP.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/tool/fmp4.h"
#include "tests/tool/serving.h"
#include "tool/serve/folder_recordings.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kMaster = "#EXTM3U\nnews.m3u8\n";
constexpr const char* kOpen = "#EXTM3U\n#EXTINF:1.000,\nnews.m4v\n";
constexpr const char* kEnded = "#EXTM3U\n#EXTINF:1.000,\nnews.m4v\n#EXT-X-ENDLIST\n";

TEST_F(Serve, SendsCompleteFilesThatMustNotBeCached) {
  const httplib::Response response = get("/media/digits.m4v");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "0123456789");
  EXPECT_EQ(response.get_header_value("Content-Length"), "10");
  EXPECT_EQ(response.get_header_value("Content-Type"), "video/mp4");
  EXPECT_EQ(response.get_header_value("Accept-Ranges"), "bytes");
  EXPECT_EQ(response.get_header_value("Cache-Control"), "no-store");
}

TEST_F(Serve, SendsEmptyFilesAndFilesOfSubfoldersAndOfAnyName) {
  EXPECT_EQ(get("/media/empty.m4v").status, 200);
  EXPECT_EQ(get("/media/empty.m4v").body, "");
  EXPECT_EQ(get("/media/sub/inner.mpd").body, "inner");
  EXPECT_EQ(get("/media/a%20b+%25%C3%BC.m3u8").body, "named");
}

TEST_F(Serve, HeadSendsOnlyTheHeadersOfTheCompleteFile) {
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

TEST_P(SatisfiableRange, SendsItsBytes) {
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

TEST_F(Serve, AnswersSeveralRangesWithTheCompleteFile) {
  const httplib::Response response = range("bytes=0-1,-2");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "0123456789");
  EXPECT_FALSE(response.has_header("Content-Range"));
}

TEST_F(Serve, RangesOfAnEmptyFileAreRefused) {
  EXPECT_EQ(range("bytes=0-", "/media/empty.m4v").status, 416);
}

TEST_F(Serve, SendsTheCurrentBytesOfAGrowingFile) {
  EXPECT_EQ(range("bytes=8-").body, "89");
  std::ofstream(media_ / "digits.m4v", std::ios::app) << "ABC";
  const httplib::Response response = range("bytes=8-");
  EXPECT_EQ(response.body, "89ABC");
  EXPECT_EQ(response.get_header_value("Content-Range"), "bytes 8-12/13");
}

TEST_F(Serve, SendsLargeFilesInPieces) {
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

TEST_F(Serve, FolderWhoseNameHasTheSamePrefixIsOutside) {
  std::filesystem::create_directory(outside_.path() / "mediaplus");
  writeText(outside_.path() / "mediaplus" / "secret.m4v", "secret");
  EXPECT_EQ(get("/media/../mediaplus/secret.m4v").status, 404);
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

TEST_F(Serve, AnswersOnlyToLoopbackNames) {
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "localhost:1234"}}).status, 200);
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "127.0.0.1"}}).status, 200);
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "elsewhere.example"}}).status, 403);
  EXPECT_EQ(get("/media/digits.m4v", {{"Host", "localhost.elsewhere.example:80"}}).status, 403);
}

TEST_F(Serve, ListensOnlyOnTheLoopbackAddress) {
  EXPECT_FALSE(httplib::Client("127.0.0.2", port_).Get("/"));
  EXPECT_FALSE(httplib::Client("::1", port_).Get("/"));
}

TEST_F(Serve, SendsThePageAndItsParts) {
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

TEST_F(Serve, AsksTheProgramForDataOfAFileOfTheFolder) {
  DataRequest asked;
  answerData_ = [&asked](const DataRequest& request) {
    asked = request;
    return DataAnswer{203, "application/json", "{}"};
  };
  const httplib::Response response = get("/data/describe/sub/inner.mpd?from=1&to=%2F");
  EXPECT_EQ(response.status, 203);
  EXPECT_EQ(response.get_header_value("Content-Type"), "application/json");
  EXPECT_EQ(response.body, "{}");
  EXPECT_EQ(asked.subject, "describe");
  EXPECT_EQ(asked.name, "sub/inner.mpd");
  EXPECT_EQ(asked.file, std::filesystem::canonical(media_ / "sub" / "inner.mpd"));
  EXPECT_EQ(asked.parameters, (std::multimap<std::string, std::string>{{"from", "1"}, {"to", "/"}}));
}

TEST_F(Serve, AsksForNoDataOfOtherFiles) {
  answerData_ = [](const DataRequest&) -> DataAnswer {
    ADD_FAILURE() << "asked";
    return {};
  };
  writeText(media_ / "describe", "named like a question");
  for (const char* path : {"/data/", "/data/describe", "/data/describe/", "/data/describe/missing.mp4",
                           "/data/describe/../secret.m4v", "/data/describe/sub"})
    EXPECT_EQ(get(path).status, 404) << path;
}

TEST_F(Serve, ReportsDataThatCannotBeHad) {
  answerData_ = [](const DataRequest&) -> DataAnswer { throw std::runtime_error("the file is damaged"); };
  const httplib::Response response = get("/data/describe/digits.m4v");
  EXPECT_EQ(response.status, 500);
  EXPECT_EQ(response.body, "the file is damaged\n");
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
      "playlist": "news.m3u8", "audioPlaylist": "", "bytes": 5, "inProgress": true})"));
}

// One line per recording: name, manifest, playlist, audio playlist, bytes, whether it is in progress.
std::vector<std::string> listed(const TempFolder& folder) {
  std::vector<std::string> lines;
  for (const FolderRecording& each : listRecordings(folder.path()))
    lines.push_back(each.name + " " + each.manifest + " " + each.playlist + " " + each.audioPlaylist + " " +
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

TEST(RecordingList, MarksRecordingsThatHaveNotEnded) {
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

TEST(ServeCommand, ReportsAPortInUse) {
  const TempFolder folder;
  WebServer other(folder.path(), folder.path(), {});
  const std::string port = std::to_string(other.start(0));
  const RunResult result = fmp4({"serve", folder.path().string(), "--port", port});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: port " + port +
                " cannot be opened; is it in use? Give another with --port; 0 picks a free one\n");
}

TEST(ServeCommand, ReportsAFolderThatIsNone) {
  const TempFolder folder;
  writeText(folder.file("file"), "x");
  const auto errorFor = [&folder](const std::string& name) {
    const RunResult result = fmp4({"serve", folder.file(name), "--port", "0"});
    EXPECT_EQ(result.exitCode, 1);
    return result.err;
  };
  EXPECT_EQ(errorFor("missing"),
            "fmp4: the folder '" + folder.file("missing") +
                "' cannot be read (No such file or directory); check the name and its permissions\n");
  EXPECT_EQ(errorFor("file"),
            "fmp4: '" + folder.file("file") + "' is a file; give the folder that it is in\n");
}

}  // namespace

}  // namespace fmp4
