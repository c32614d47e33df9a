// Loading libraries, where it is the same on every system.
#include <gtest/gtest.h>

#include <string>

#include "vlutil.h"

namespace fmp4 {

namespace {

TEST(Library, MissingLibraryIsNotLoaded) {
  for (const char* path : {"", "/", "\\", "hosttest-none-1.dll", "C:\\Program Files\\FFMpeg\\avcodec-57.dll",
                           "hosttest_formats\\", "-57.dll", ".dll"}) {
    EXPECT_EQ(vlOSLoadLibrary(path, 2), nullptr) << path;
    EXPECT_NE(vlOSGetLastError(), 0u);
  }
  EXPECT_EQ(vlOSLoadLibrary(nullptr, 2), nullptr);
  EXPECT_EQ(vlOSLoadLibrary(std::string(100000, 'x').c_str(), 2), nullptr);
}

TEST(Library, SymbolsAreFoundOrNull) {
  void* library = vlOSLoadLibrary("hosttestversioned-57.dll", 2);
  ASSERT_NE(library, nullptr);
  EXPECT_NE(vlOSGetProcAddress(library, "loadedLibraryNumber"), nullptr);
  EXPECT_EQ(vlOSGetProcAddress(library, "noSuchSymbol"), nullptr);
  EXPECT_EQ(vlOSGetProcAddress(library, nullptr), nullptr);
  EXPECT_EQ(vlOSGetProcAddress(nullptr, "loadedLibraryNumber"), nullptr);
  EXPECT_EQ(vlOSFreeLibrary(library), 1);
  EXPECT_EQ(vlOSFreeLibrary(nullptr), 0);
}

}  // namespace

}  // namespace fmp4
