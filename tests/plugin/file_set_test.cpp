#include "streaming/lists/file_set.h"

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

struct Folder : TempFolder {
  void make(std::initializer_list<const char*> names) const {
    for (const char* name : names) writeFile(file(name), {});
  }
  FileSet find(const char* name, bool audioOnly = false) const {
    return findFileSet(file(name).c_str(), audioOnly);
  }
};

TEST(FileSet, AManifestsMediaAreInItsFolder) {
  const Folder folder;
  folder.make({"clip.m4v", "clip.m4a"});
  const FileSet files = folder.find("clip.mpd");
  EXPECT_EQ(files.manifest, folder.file("clip.mpd"));
  EXPECT_EQ(files.video, folder.file("clip.m4v"));
  EXPECT_EQ(files.audio, folder.file("clip.m4a"));
}

TEST(FileSet, Mp4ComesBeforeM4v) {
  const Folder folder;
  folder.make({"clip.m4v", "clip.mp4"});
  EXPECT_EQ(folder.find("clip.xml").video, folder.file("clip.mp4"));
  EXPECT_EQ(folder.find("clip.xml").audio, "");
}

TEST(FileSet, AManifestWithoutMediaHasNone) {
  const Folder folder;
  const FileSet files = folder.find("clip.mpd");
  EXPECT_EQ(files.video, "");
  EXPECT_EQ(files.audio, "");
}

TEST(FileSet, AMediaFilesManifestIsInItsFolder) {
  const Folder folder;
  EXPECT_EQ(folder.find("clip.mp4").manifest, "");
  folder.make({"clip.xml"});
  EXPECT_EQ(folder.find("clip.mp4").manifest, folder.file("clip.xml"));
  folder.make({"clip.mpd"});
  EXPECT_EQ(folder.find("clip.mp4").manifest, folder.file("clip.mpd"));
}

TEST(FileSet, KindsAreRecognisedBySubstringsOfTheName) {
  const Folder folder;
  EXPECT_EQ(folder.find("a.mp4.bak").video, folder.file("a.mp4.bak"));
  EXPECT_EQ(folder.find("a.m4v").video, folder.file("a.m4v"));
  EXPECT_EQ(folder.find("a.m4a").audio, folder.file("a.m4a"));
  EXPECT_EQ(folder.find("a.m4a").video, "");
  EXPECT_EQ(folder.find("a.m4a.mp4").video, folder.file("a.m4a.mp4"));
  EXPECT_EQ(folder.find("a.m4a.mp4").audio, "");
  EXPECT_EQ(folder.find("A.MP4").video, "") << "case matters";
  EXPECT_EQ(folder.find("a.ismv").video, "");
}

TEST(FileSet, AnAudioOnlyOpenUsesTheNameAsTheAudioFile) {
  const Folder folder;
  const FileSet files = folder.find("a.mp4", true);
  EXPECT_EQ(files.audio, folder.file("a.mp4"));
  EXPECT_EQ(files.video, "");
}

// Loads a manifest of one representation beside files of these names.
FileSet loaded(const Folder& folder, const std::string& adaptationSets) {
  const std::string text = "<MPD><Period>" + adaptationSets + "</Period></MPD>";
  writeFile(folder.file("list.mpd"), {text.begin(), text.end()});
  FileSet files = folder.find("list.mpd");
  LastManifest last;
  EXPECT_NE(loadManifest(files, last), nullptr);
  return files;
}

TEST(FileSet, AReferenceIsDecodedIfThereIsAFileOfThatName) {
  const Folder folder;
  const std::string sets =
      "<AdaptationSet><Representation mimeType=\"video/mp4\"><BaseURL>a%20b.mp4</BaseURL>"
      "</Representation></AdaptationSet>";
  folder.make({"a%20b.mp4"});
  EXPECT_EQ(loaded(folder, sets).video, folder.file("a%20b.mp4"));
  folder.make({"a b.mp4"});
  EXPECT_EQ(loaded(folder, sets).video, folder.file("a b.mp4"));
}

TEST(FileSet, AManifestThatNamesNoAudioKeepsWhatItsNameGives) {
  const Folder folder;
  folder.make({"clip.m4v", "list.m4a"});
  const FileSet files = loaded(folder,
                               "<AdaptationSet><Representation mimeType=\"video/mp4\">"
                               "<BaseURL>clip.m4v</BaseURL></Representation></AdaptationSet>");
  EXPECT_EQ(files.video, folder.file("clip.m4v"));
  EXPECT_EQ(files.audio, folder.file("list.m4a"));
}

}  // namespace

}  // namespace fmp4
