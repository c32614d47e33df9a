#include "host/reference/posix/elf_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/places.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::IsEmpty;
using vlhost::ElfFile;
using vlhost::readElfFile;

const std::string kLibrary = VL_BIN_DIR "/hosttest_formats/libhosttestasking.so";

// The needed libraries as binutils lists them.
std::vector<std::string> listed(const std::string& file) {
  std::istringstream lines(runOrThrow({"readelf", "-d", "-W", file}).out);
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("(NEEDED)") == std::string::npos) continue;
    const std::size_t start = line.find('[') + 1;
    names.push_back(line.substr(start, line.find(']') - start));
  }
  return names;
}

TEST(ElfFile, NamesTheNeededLibrariesInOrder) {
  for (const std::string& file :
       {kLibrary, std::string(VL_BIN_DIR "/libvlhost.so"), std::string(VL_BIN_DIR "/host_test")}) {
    const ElfFile elf = readElfFile(file);
    EXPECT_TRUE(elf.complete);
    EXPECT_EQ(elf.needed, listed(file)) << file;
    EXPECT_FALSE(elf.needed.empty());
  }
}

TEST(ElfFile, OtherFilesNeedNothing) {
  const TempFolder folder;
  writeFile(folder.file("text"), std::vector<std::uint8_t>(1000, 'x'));
  for (const std::string& file : {folder.file("text"), folder.file("missing"), folder.path().string()}) {
    EXPECT_TRUE(readElfFile(file).complete);
    EXPECT_THAT(readElfFile(file).needed, IsEmpty());
  }
}

TEST(ElfFile, IsIncompleteWhereItEndsBeforeItsSegments) {
  const TempFolder folder;
  const std::string copy = folder.file("copy.so");
  std::filesystem::copy_file(kLibrary, copy);
  const std::uintmax_t entire = std::filesystem::file_size(copy);
  bool complete = true;
  // Down to the header alone: complete while only its last sections, which are not mapped, are missing.
  for (std::uintmax_t size = entire; size >= 64; size -= 16) {
    std::filesystem::resize_file(copy, size);
    const bool now = readElfFile(copy).complete;
    EXPECT_TRUE(complete || !now) << size;
    EXPECT_FALSE(now && size < entire / 4) << size;
    complete = now;
  }
  EXPECT_FALSE(complete);
}

// Nothing is read or kept outside the file, whatever it claims; sanitizers check that.
TEST(ElfFile, DamageIsHarmless) {
  const std::vector<std::uint8_t> entire = readFile(kLibrary);
  const TempFolder folder;
  writeFile(folder.file("damaged"), entire);
  std::fstream file(folder.file("damaged"), std::ios::binary | std::ios::in | std::ios::out);
  const auto put = [&](std::size_t place, std::uint8_t value) {
    file.seekp(static_cast<std::streamoff>(place));
    file.put(static_cast<char>(value)).flush();
  };
  const std::vector<std::string> needed = listed(kLibrary);
  int without = 0;
  for (std::size_t place = 0; place < 1024; ++place) {
    for (const int value : {0x00, 0x7F, 0xFF}) {
      put(place, static_cast<std::uint8_t>(value));
      if (readElfFile(folder.file("damaged")).needed.empty()) ++without;
    }
    put(place, entire[place]);
  }
  EXPECT_GT(without, 0) << "relevant bytes were damaged";
  EXPECT_EQ(readElfFile(folder.file("damaged")).needed, needed);
}

}  // namespace

}  // namespace fmp4
