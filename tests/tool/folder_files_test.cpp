// The list of a served folder for the page.
#include "tool/serve/folder_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/tool/serving.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kEndedList = "#EXTM3U\n#EXT-X-ENDLIST\n";

// A folder to be listed; files are given the times of their last changes, in seconds after a moment.
class FolderListing : public testing::Test {
 protected:
  void put(const std::string& name, const std::string& text, int seconds = 0) {
    const std::filesystem::path path = folder_.path() / vlPath(name);
    std::filesystem::create_directories(path.parent_path());
    writeText(path, text);
    std::filesystem::last_write_time(path, moment_ + std::chrono::seconds(seconds));
  }

  // One line per file: kind, name, the file to ask about, manifest, playlists, bytes, whether it is in
  // progress.
  std::vector<std::string> lines(const std::string& folder = "") {
    std::vector<std::string> lines;
    const nlohmann::json list = json(folder);
    for (const auto& file : list["files"]) {
      std::string line = file["kind"].get<std::string>();
      for (const char* key : {"name", "file", "manifest", "playlist", "audioPlaylist"})
        line += " " + file[key].get<std::string>();
      lines.push_back(line + " " + std::to_string(file["bytes"].get<int>()) +
                      (file["inProgress"].get<bool>() ? " open" : ""));
    }
    return lines;
  }
  nlohmann::json json(const std::string& folder = "") {
    const auto list = files_.list(folder);
    return list ? nlohmann::json::parse(folderListJson(*list)) : nlohmann::json();
  }

  const TempFolder folder_;
  const std::filesystem::file_time_type moment_ =
      std::filesystem::last_write_time(folder_.path()) - std::chrono::hours(1);
  const ServedFolder served_{folder_.path()};
  FolderFiles files_{served_};
};

TEST_F(FolderListing, JoinsTheFilesOfARecordingAndListsAllOthersAlone) {
  for (const char* name : {"news.m3u8", "newsA.m3u8", "news.master.m3u8"}) put(name, kEndedList, 1);
  put("news.m4v", "12345", 1);
  put("news.m4a", "123", 1);
  put("news.mpd", "<MPD/>", 1);
  put("other.mp4", "1234", 4);
  put("foreign.mpd", "<MPD/>", 3);
  put("LOUD.MP4", "12", 2);
  put("notes.txt", "x", 9);
  put("feed.xml", "<feed/>", 9);
  put("segment.m4s", "x", 9);
  EXPECT_THAT(lines(),
              ElementsAre("media other.mp4 other.mp4    4",
                          "manifest foreign.mpd foreign.mpd foreign.mpd   0", "media LOUD.MP4 LOUD.MP4    2",
                          "recording news news.m4v news.mpd news.master.m3u8 newsA.m3u8 8"));
}

TEST_F(FolderListing, ManifestWithMediaOfItsNameIsARecording) {
  put("smooth.xml", "<?xml version=\"1.0\"?>\n<MPD xmlns=\"x\"/>");
  put("smooth.ismv", "123");
  put("alone.m4v", "1");
  EXPECT_THAT(lines(),
              ElementsAre("media alone.m4v alone.m4v    1", "recording smooth smooth.ismv smooth.xml   3"));
}

TEST_F(FolderListing, NameThatEndsInAIsOfAudioOnlyBesideItsRecording) {
  put("sagA.m3u8", kEndedList);
  EXPECT_THAT(lines(), ElementsAre("recording sagA   sagA.m3u8  0"));
  put("sag.m3u8", kEndedList);
  EXPECT_THAT(lines(), ElementsAre("recording sag   sag.m3u8 sagA.m3u8 0"));
  put("sagA.m4v", "1");
  EXPECT_THAT(lines(),
              ElementsAre("recording sag   sag.m3u8 sagA.m3u8 0", "recording sagA sagA.m4v  sagA.m3u8  1"));
}

TEST_F(FolderListing, RecordingWithoutMediaIsAskedForByItsManifest) {
  put("lost.m3u8", kEndedList);
  put("lost.mpd", "<MPD/>");
  EXPECT_THAT(lines(), ElementsAre("recording lost lost.mpd lost.mpd lost.m3u8  0"));
}

TEST_F(FolderListing, RecordingIsAsNewAsTheNewestOfItsFiles) {
  put("news.m4v", "1", 3);
  put("news.m3u8", kEndedList, 1);
  put("other.mp4", "1", 2);
  EXPECT_EQ(json()["files"][0]["name"], "news");
}

TEST_F(FolderListing, PlaylistIsNotReadAgainAfterOtherFolders) {
  const std::string ended = kEndedList;
  put("news.m3u8", ended);
  put("b/inner.mp4", "12");
  EXPECT_THAT(lines(), ElementsAre("recording news   news.m3u8  0"));
  EXPECT_EQ(lines("b").size(), 1u);
  put("news.m3u8", std::string(ended.size(), ' '));
  EXPECT_THAT(lines(), ElementsAre("recording news   news.m3u8  0"));
}

TEST_F(FolderListing, NewestComesFirstAndNamesDecideBetweenEqualTimes) {
  put("b.mp4", "1", 1);
  put("a.mp4", "1", 1);
  put("c.mp4", "1", 2);
  EXPECT_THAT(lines(),
              ElementsAre("media c.mp4 c.mp4    1", "media a.mp4 a.mp4    1", "media b.mp4 b.mp4    1"));
  const auto list = json()["files"];
  EXPECT_EQ(list[0]["modified"].get<std::int64_t>() - list[1]["modified"].get<std::int64_t>(), 1000);
}

TEST_F(FolderListing, PlaylistIsReadAgainWhenItChanges) {
  put("news.m3u8", "#EXTM3U\n");
  EXPECT_THAT(lines(), ElementsAre("recording news   news.m3u8  0 open"));
  put("news.m3u8", kEndedList);
  EXPECT_THAT(lines(), ElementsAre("recording news   news.m3u8  0"));
}

// Of the same size and time it is taken to be what it was.
TEST_F(FolderListing, PlaylistIsNotReadAgainWhenItHasNotChanged) {
  const std::string ended = kEndedList;
  put("news.m3u8", ended);
  EXPECT_THAT(lines(), ElementsAre("recording news   news.m3u8  0"));
  put("news.m3u8", std::string(ended.size(), ' '));
  EXPECT_THAT(lines(), ElementsAre("recording news   news.m3u8  0"));
}

TEST_F(FolderListing, SubfoldersAreNamedAndWalked) {
  put("b/inner.mp4", "12");
  put("a #1 ü/deep/x.mp4", "1");
  put(".hidden/x.mp4", "1");
  put("._x.mp4", "1");
  EXPECT_EQ(json()["folders"], nlohmann::json::parse(R"(["a #1 ü", "b"])"));
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_THAT(lines("b"), ElementsAre("media inner.mp4 inner.mp4    2"));
  EXPECT_EQ(json("a #1 ü")["folders"], nlohmann::json::parse(R"(["deep"])"));
  EXPECT_EQ(json("a #1 ü/deep/")["folder"], "a #1 ü/deep");
  EXPECT_THAT(lines("a #1 ü/deep"), ElementsAre("media x.mp4 x.mp4    1"));
}

TEST_F(FolderListing, FoldersOutsideAreNone) {
  put("b/inner.mp4", "12");
  for (const char* name : {"..", "b/../..", "/", "missing", "b/inner.mp4"})
    EXPECT_TRUE(json(name).is_null()) << name;
  EXPECT_FALSE(files_.list(std::string("b\0", 2)));
}

TEST_F(Serve, ListsAFolderForThePage) {
  const auto list = nlohmann::json::parse(get("/files.json?folder=sub").body);
  EXPECT_EQ(list["folder"], "sub");
  EXPECT_EQ(list["files"][0]["name"], "inner.mpd");
  EXPECT_EQ(nlohmann::json::parse(get("/files.json").body)["folders"], nlohmann::json::parse(R"(["sub"])"));
  EXPECT_EQ(get("/files.json").get_header_value("Content-Type"), "application/json");
  const httplib::Response missing = get("/files.json?folder=..");
  EXPECT_EQ(missing.status, 404);
  EXPECT_EQ(missing.body, "there is no such folder\n");
}

}  // namespace

}  // namespace fmp4
