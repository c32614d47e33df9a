// Which recording a name belongs to, and how its files are called.
#include "recording/existing_paths.h"

#include <gtest/gtest.h>

#include "base/user_error.h"
#include "recording/paths.h"
#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

TEST(RecordingNames, AreThoseOfTheVideoWhereverMp4Is) {
  EXPECT_EQ(videoPath("a.mp4"), "a.m4v");
  EXPECT_EQ(videoPath("a.mp4.old"), "a.mp4.m4v");
  EXPECT_EQ(videoPath("a.mov"), "a.mov");
  EXPECT_EQ(manifestPath("a.m4v"), "a.mpd");
  EXPECT_EQ(manifestPath("a.ismv"), "a.xml");
  EXPECT_EQ(audioPlaylistPath("a.m4a"), "aA.m3u8");
}

TEST(RecordingNames, ThatAreTooLongAreEmpty) {
  const std::string longest(VL_MAX_PATH - 5, 'a');
  EXPECT_EQ(withExtension(longest, ".m4v"), longest + ".m4v");
  EXPECT_EQ(withExtension(longest + "a", ".m4v"), "");
}

class ExistingPaths : public testing::Test {
 protected:
  void put(const std::string& name, const std::string& text = "") const {
    writeFile(folder_.file(name), {text.begin(), text.end()});
  }
  // The name of the media file of the recording, "none" without one.
  std::string mediaOf(const std::string& name) const {
    try {
      const RecordingPaths paths = findRecordingPaths(folder_.file(name));
      return fileNameOf(paths.video.empty() ? paths.audio : paths.video);
    } catch (const UserError&) {
      return "none";
    }
  }
  RecordingPaths pathsOf(const std::string& name) const { return findRecordingPaths(folder_.file(name)); }

  const TempFolder folder_;
};

TEST_F(ExistingPaths, OfAPlaylistAreThoseOfTheMediaThatItNames) {
  put("video.m4v");
  put("list.m3u8", "#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-MAP:URI=\"video.m4v\",BYTERANGE=\"7@0\"\n");
  EXPECT_EQ(mediaOf("list.m3u8"), "video.m4v");
}

TEST_F(ExistingPaths, OfAPlaylistAreReadFromItsHeaderAlone) {
  put("video.m4v");
  std::string text = "#EXTM3U\n";
  for (int i = 0; i < 100; ++i) text += "#\n";
  put("list.m3u8", text + "#EXT-X-MAP:URI=\"video.m4v\"\n");
  EXPECT_EQ(mediaOf("list.m3u8"), "none");
}

TEST_F(ExistingPaths, OfAReferenceAreThoseOfItsBareNameToo) {
  put("a%20b.m4v");
  put("list.m3u8", "#EXT-X-MAP:URI=\"a%20b.m4v\"\n");
  EXPECT_EQ(mediaOf("list.m3u8"), "a%20b.m4v");
  put("a b.m4v");
  EXPECT_EQ(mediaOf("list.m3u8"), "a b.m4v");
}

TEST_F(ExistingPaths, OfAReferenceToAnotherFolderAreNot) {
  std::filesystem::create_directory(folder_.path() / "sub");
  put("sub/video.m4v");
  put("list.m3u8", "#EXT-X-MAP:URI=\"sub/video.m4v\"\n");
  EXPECT_EQ(mediaOf("list.m3u8"), "none");
}

TEST_F(ExistingPaths, OfAPlaylistThatNamesNothingFollowFromItsName) {
  put("show.m3u8", "#EXTM3U\n");
  EXPECT_EQ(mediaOf("show.m3u8"), "none");
  put("show.m4v");
  EXPECT_EQ(mediaOf("show.m3u8"), "show.m4v");
  EXPECT_EQ(mediaOf("show.master.m3u8"), "show.m4v");
  EXPECT_EQ(mediaOf("showA.m3u8"), "show.m4v");
  put("showA.m4v");
  EXPECT_EQ(mediaOf("showA.m3u8"), "showA.m4v") << "a recording of that name comes first";
}

TEST_F(ExistingPaths, OfTheShortestNamesAreNotThoseOfHiddenFiles) {
  put(".m4v");
  put("A.m3u8", "#EXTM3U\n");
  EXPECT_EQ(mediaOf("A.m3u8"), "none");
}

TEST_F(ExistingPaths, OfAManifestAreThoseOfTheVideoThatItNames) {
  put("video.mp4");
  put("sound.m4a");
  const std::string set = "<AdaptationSet><Representation mimeType=\"";
  const std::string end = "</BaseURL></Representation></AdaptationSet>";
  put("list.mpd", "<MPD><Period>" + set + "audio/mp4\"><BaseURL>sound.m4a" + end + set +
                      "video/mp4\"><BaseURL>video.mp4" + end + "</Period></MPD>");
  EXPECT_EQ(mediaOf("list.mpd"), "video.mp4");
}

TEST_F(ExistingPaths, OfAManifestThatNamesNothingFollowFromItsName) {
  put("show.mpd", "<MPD/>");
  EXPECT_EQ(mediaOf("show.mpd"), "none");
  put("show.m4v");
  EXPECT_EQ(mediaOf("show.mpd"), "show.m4v");
}

TEST_F(ExistingPaths, OfTheNameThatWasGivenAreThoseThatWereRecorded) {
  put("show.m4v");
  EXPECT_EQ(mediaOf("show.mp4"), "show.m4v");
  EXPECT_EQ(mediaOf("show.m4a"), "show.m4v") << "its audio is lost";
  EXPECT_EQ(mediaOf("show.mov"), "none");
  put("show.m4a");
  EXPECT_EQ(mediaOf("show.m4a"), "show.m4v");
}

TEST_F(ExistingPaths, OfAudioAloneHaveNoVideo) {
  for (const std::string name : {"talk.m4a", "speech.isma"}) {
    put(name);
    const RecordingPaths paths = pathsOf(name);
    EXPECT_EQ(paths.video, "") << name;
    EXPECT_EQ(paths.audio, folder_.file(name));
    EXPECT_EQ(paths.manifest, "");
  }
  EXPECT_EQ(pathsOf("talk.m4a").audioPlaylist, folder_.file("talkA.m3u8"));
}

TEST_F(ExistingPaths, ManifestIsThatWhichRecordingWroteOrThatWhichIsThere) {
  put("show.ismv");
  EXPECT_EQ(pathsOf("show.ismv").manifest, folder_.file("show.xml"));
  put("show.mpd");
  EXPECT_EQ(pathsOf("show.ismv").manifest, folder_.file("show.mpd"));
  put("show.xml");
  EXPECT_EQ(pathsOf("show.ismv").manifest, folder_.file("show.xml"));
  put("other.m4v");
  EXPECT_EQ(pathsOf("other.m4v").manifest, folder_.file("other.mpd"));
}

}  // namespace

}  // namespace fmp4
