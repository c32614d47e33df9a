#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "vlutil.h"

namespace fmp4 {

namespace {

struct Parts {
  std::string drive, directory, name, extension;
  bool operator==(const Parts&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Parts& parts) {
  return out << '[' << parts.drive << "][" << parts.directory << "][" << parts.name << "][" << parts.extension
             << ']';
}

struct Buffers {
  char drive[VL_MAX_PATH], directory[VL_MAX_PATH], name[VL_MAX_PATH], extension[VL_MAX_PATH];
};

Parts split(const std::string& path) {
  Buffers out;
  EXPECT_EQ(vlOSSplitPath(path.c_str(), out.drive, out.directory, out.name, out.extension), VL_OK);
  return {out.drive, out.directory, out.name, out.extension};
}

std::string make(const char* drive, const char* directory, const char* name, const char* extension) {
  char path[VL_MAX_PATH];
  EXPECT_EQ(vlOSMakePath(path, sizeof path, drive, directory, name, extension), VL_OK);
  return path;
}

std::string withExtension(const std::string& path, const char* extension) {
  char buffer[VL_MAX_PATH];
  std::strcpy(buffer, path.c_str());
  EXPECT_EQ(ChangeFileExtension(buffer, sizeof buffer, extension), VL_OK);
  return buffer;
}

TEST(SplitPath, TakesBothSeparatorsAndDrives) {
  EXPECT_EQ(split("/media/in/clip.mp4"), (Parts{"", "/media/in/", "clip", ".mp4"}));
  EXPECT_EQ(split("C:\\media\\clip.mp4"), (Parts{"C:", "\\media\\", "clip", ".mp4"}));
  EXPECT_EQ(split("media\\in/clip.mp4"), (Parts{"", "media\\in/", "clip", ".mp4"}));
  EXPECT_EQ(split("d:clip.mp4"), (Parts{"d:", "", "clip", ".mp4"}));
  EXPECT_EQ(split("1:clip"), (Parts{"", "", "1:clip", ""}));
}

TEST(SplitPath, ExtensionIsWhatFollowsTheLastDotOfTheName) {
  EXPECT_EQ(split("a.b.mpd"), (Parts{"", "", "a.b", ".mpd"}));
  EXPECT_EQ(split("folder.d/clip"), (Parts{"", "folder.d/", "clip", ""}));
  EXPECT_EQ(split("clip."), (Parts{"", "", "clip", "."}));
  EXPECT_EQ(split("/media/"), (Parts{"", "/media/", "", ""}));
  EXPECT_EQ(split(""), (Parts{"", "", "", ""}));
}

TEST(SplitPath, OutputsMayBeNullOrThePathItself) {
  char path[VL_MAX_PATH] = "/media/clip.mp4";
  char name[VL_MAX_PATH];
  EXPECT_EQ(vlOSSplitPath(path, nullptr, path, name, nullptr), VL_OK);
  EXPECT_STREQ(path, "/media/");
  EXPECT_STREQ(name, "clip");
  EXPECT_EQ(vlOSSplitPath("x", nullptr, nullptr, nullptr, nullptr), VL_OK);
}

TEST(SplitPath, PathThatIsTooLongOrNullClearsAllOutputs) {
  const std::string longest(VL_MAX_PATH - 1, 'a');
  EXPECT_EQ(split(longest), (Parts{"", "", longest, ""}));
  for (const std::string& path : {longest + 'a', std::string(100000, '/')}) {
    Buffers out = {"x", "x", "x", "x"};
    EXPECT_EQ(vlOSSplitPath(path.c_str(), out.drive, out.directory, out.name, out.extension), VL_FAILED);
    EXPECT_STREQ(out.drive, "");
    EXPECT_STREQ(out.directory, "");
    EXPECT_STREQ(out.name, "");
    EXPECT_STREQ(out.extension, "");
  }
  EXPECT_EQ(vlOSSplitPath(nullptr, nullptr, nullptr, nullptr, nullptr), VL_FAILED);
}

TEST(MakePath, RejoinsWhatSplitPathSplit) {
  for (const std::string path :
       {"/media/in/clip.mp4", "C:\\media\\clip.mp4", "clip", "a/b.c/d.e.f", "x:y", "a."}) {
    const Parts parts = split(path);
    EXPECT_EQ(make(parts.drive.c_str(), parts.directory.c_str(), parts.name.c_str(), parts.extension.c_str()),
              path);
  }
}

TEST(MakePath, AddsMissingSeparatorAndDot) {
  EXPECT_EQ(make(nullptr, "media", "clip", "mp4"), "media/clip.mp4");
  EXPECT_EQ(make("C:", "\\media\\in", "clip", ".mp4"), "C:\\media\\in\\clip.mp4");
  EXPECT_EQ(make(nullptr, "/media", "clip", ""), "/media/clip");
  EXPECT_EQ(make(nullptr, nullptr, nullptr, nullptr), "");
}

TEST(MakePath, ResultThatDoesNotFitIsEmpty) {
  char path[12] = "unchanged";
  EXPECT_EQ(vlOSMakePath(path, sizeof path, nullptr, "media", "clip", ".x"), VL_FAILED);
  EXPECT_STREQ(path, "");
  EXPECT_EQ(vlOSMakePath(path, sizeof path, nullptr, "media", "clip", ""), VL_OK);
  EXPECT_STREQ(path, "media/clip");
  EXPECT_EQ(vlOSMakePath(path, 11, nullptr, "media", "clip", ""), VL_OK);
  EXPECT_EQ(vlOSMakePath(path, 10, nullptr, "media", "clip", ""), VL_FAILED);
  EXPECT_EQ(vlOSMakePath(path, 0, nullptr, nullptr, nullptr, nullptr), VL_FAILED);
  EXPECT_EQ(vlOSMakePath(nullptr, 10, nullptr, nullptr, nullptr, nullptr), VL_FAILED);
}

TEST(MakePath, ResultNeverExceedsTheLongestPath) {
  char path[2 * VL_MAX_PATH];
  const std::string name(VL_MAX_PATH - 5, 'n');
  EXPECT_EQ(vlOSMakePath(path, sizeof path, nullptr, nullptr, name.c_str(), ".mp4"), VL_OK);
  EXPECT_EQ(std::strlen(path), VL_MAX_PATH - 1);
  EXPECT_EQ(vlOSMakePath(path, sizeof path, nullptr, "/", name.c_str(), ".mp4"), VL_FAILED);
  EXPECT_STREQ(path, "");
}

TEST(MakePath, PartsMayBeInsideTheResult) {
  char path[VL_MAX_PATH] = "clip";
  EXPECT_EQ(vlOSMakePath(path, sizeof path, nullptr, "/media", path, path), VL_OK);
  EXPECT_STREQ(path, "/media/clip.clip");
}

TEST(ChangeExtension, ReplacesAddsAndRemoves) {
  EXPECT_EQ(withExtension("/media/clip.mp4", ".m4v"), "/media/clip.m4v");
  EXPECT_EQ(withExtension("/media/clip", ".mpd"), "/media/clip.mpd");
  EXPECT_EQ(withExtension("/media.d/clip", ".mpd"), "/media.d/clip.mpd");
  EXPECT_EQ(withExtension("C:\\m.d\\clip.x.y", ".z"), "C:\\m.d\\clip.x.z");
  EXPECT_EQ(withExtension("clip.mp4", "m4a"), "clip.m4a");
  EXPECT_EQ(withExtension("clip.mp4", ""), "clip");
  EXPECT_EQ(withExtension("clip.mp4", nullptr), "clip");
}

TEST(ChangeExtension, ResultThatDoesNotFitKeepsThePath) {
  char path[9] = "clip.mp4";
  EXPECT_EQ(ChangeFileExtension(path, sizeof path, ".mpeg"), VL_FAILED);
  EXPECT_STREQ(path, "clip.mp4");
  EXPECT_EQ(ChangeFileExtension(path, sizeof path, ".m4v"), VL_OK);
  EXPECT_STREQ(path, "clip.m4v");
  EXPECT_EQ(ChangeFileExtension(path, 8, ".m"), VL_FAILED) << "no terminator within the buffer";
  EXPECT_EQ(ChangeFileExtension(nullptr, 9, ".m"), VL_FAILED);

  char longPath[2 * VL_MAX_PATH];
  std::strcpy(longPath, std::string(VL_MAX_PATH - 4, 'n').c_str());
  EXPECT_EQ(ChangeFileExtension(longPath, sizeof longPath, ".mp4"), VL_FAILED);
  EXPECT_EQ(ChangeFileExtension(longPath, sizeof longPath, ".x"), VL_OK);
}

}  // namespace

}  // namespace fmp4
