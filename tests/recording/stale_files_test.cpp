// Which files a new recording of the same name removes.
#include "recording/write/stale_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "mp4box/output.h"
#include "mp4box/write.h"
#include "recording/write/default_boxes.h"
#include "streaming/lists/playlist_text.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

class StaleFiles : public testing::Test {
 protected:
  StaleFiles() {
    Mp4MemoryOutput out;
    mp4::FileTypeBox box = Mp4SetUpFileType();
    Mp4WriteFileType(out, box);
    fileType_ = {out.bytes.begin(), out.bytes.end()};
  }
  // Written so many seconds after a moment.
  void put(const std::string& name, const std::string& text, int seconds = 0) const {
    writeFile(folder_.file(name), {text.begin(), text.end()});
    std::filesystem::last_write_time(folder_.file(name), moment_ + std::chrono::seconds(seconds));
  }
  void putPlaylist(const std::string& name, const std::string& media) const {
    put(name, "#EXTM3U\n" + playlistMapLine(media));
  }
  void putManifest(const std::string& name, const std::string& audio) const {
    const std::string set = "<AdaptationSet><Representation mimeType=\"";
    const std::string end = "</BaseURL></Representation></AdaptationSet>";
    put(name, "<MPD><Period>" + set + "video/mp4\"><BaseURL>a.m4v" + end + set + "audio/mp4\"><BaseURL>" +
                  audio + end + "</Period></MPD>");
  }
  // The names of the files that would go with the recording, without the manifest's.
  std::vector<std::string> staleOf(const std::string& video = "a.m4v") const {
    std::vector<std::string> names;
    for (const std::string& file : staleRecordingFiles(folder_.file(video), folder_.file("a.mpd")))
      names.push_back(std::filesystem::path(file).filename().string());
    EXPECT_EQ(names.front(), "a.mpd");
    names.erase(names.begin());
    return names;
  }

  const TempFolder folder_;
  const std::filesystem::file_time_type moment_ =
      std::filesystem::last_write_time(folder_.path()) - std::chrono::hours(1);
  std::string fileType_;
};

TEST_F(StaleFiles, ArePlaylistsThatNameTheMedia) {
  EXPECT_THAT(staleOf(), ElementsAre());
  putPlaylist("a.m3u8", "a.m4v");
  put("a.master.m3u8", "#EXTM3U\na.m3u8\n");
  EXPECT_THAT(staleOf(), ElementsAre("a.m3u8", "a.master.m3u8"));
  putPlaylist("a.m3u8", "other.m4v");
  put("a.master.m3u8", "#EXTM3U\nother.m3u8\n");
  EXPECT_THAT(staleOf(), ElementsAre());
}

TEST_F(StaleFiles, AreTheAudioThatTheManifestNames) {
  putManifest("a.mpd", "a.m4a");
  put("a.m4a", fileType_ + "media");
  putPlaylist("aA.m3u8", "a.m4a");
  EXPECT_THAT(staleOf(), ElementsAre("a.m4a", "aA.m3u8"));
  putManifest("a.mpd", "other.m4a");
  EXPECT_THAT(staleOf(), ElementsAre());
}

TEST_F(StaleFiles, AreNotAudioThatWasWrittenLongAfterTheManifest) {
  putManifest("a.mpd", "a.m4a");
  put("a.m4a", fileType_ + "media", 60);
  EXPECT_THAT(staleOf(), ElementsAre("a.m4a"));
  put("a.m4a", fileType_ + "media", 61);
  EXPECT_THAT(staleOf(), ElementsAre());
}

TEST_F(StaleFiles, AreNotAudioOfAFileTypeAlone) {
  putManifest("a.mpd", "a.m4a");
  put("a.m4a", fileType_);
  EXPECT_THAT(staleOf(), ElementsAre());
  put("a.m4a", fileType_ + "x");
  EXPECT_THAT(staleOf(), ElementsAre("a.m4a"));
}

TEST_F(StaleFiles, WithoutAManifestAreAudioThatBeginsAsTheVideo) {
  const std::string media = fileType_ + "media", foreign(media.size(), 'x');
  for (const auto& [video, audio, stale] :
       {std::tuple{media, media, true}, {foreign, media, false}, {media, foreign, false}}) {
    put("a.m4v", video);
    put("a.m4a", audio);
    EXPECT_EQ(staleOf().size(), stale ? 1u : 0u);
  }
  put("a.m4v", media);
  put("a.m4a", media, 61);
  EXPECT_THAT(staleOf(), ElementsAre()) << "written long after the video";
}

TEST_F(StaleFiles, AreThePlaylistOfAudioThatIsLost) {
  putPlaylist("aA.m3u8", "a.m4a");
  EXPECT_THAT(staleOf(), ElementsAre("aA.m3u8"));
  put("a.m4a", "of another recording");
  EXPECT_THAT(staleOf(), ElementsAre());
}

// Recording looks for ".m4v" in the whole path.
TEST_F(StaleFiles, AreNotTheRecordingItself) {
  putManifest("a.mpd", "a.m4v.m4a");
  put("a.m4v.m4a", fileType_ + "media");
  putPlaylist("a.m4vA.m3u8", "a.m4v.m4a");
  EXPECT_THAT(staleOf("a.m4v.m4a"), ElementsAre());
}

TEST_F(StaleFiles, ThatAreFoldersOrLinksStay) {
  std::filesystem::create_directory(folder_.path() / "folder");
  put("file", "");
  removeStaleFile(folder_.file("folder"));
  removeStaleFile(folder_.file("file"));
  removeStaleFile(folder_.file("missing"));
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "folder"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "file"));
}

}  // namespace

}  // namespace fmp4
