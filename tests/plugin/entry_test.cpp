#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Each;

TEST(VersionQuery, ReturnsTheInterfaceVersionAndTheFormatCount) {
  std::array<std::uint32_t, 2> out = {0xAAAAAAAA, 0xAAAAAAAA};
  EXPECT_EQ(plugin().check(nullptr, 0xFFFFFFFF, out.data()), 23);
  EXPECT_EQ(out[0], 1u);
  EXPECT_EQ(out[1], 0xAAAAAAAAu);
}

TEST(VersionQuery, WithoutABufferWritesNothing) {
  EXPECT_EQ(plugin().check(nullptr, 0xFFFFFFFF, nullptr), 23);
}

TEST(FormatQuery, FillsTheRecordOf56Bytes) {
  std::array<unsigned char, 64> record;
  record.fill(0xEE);
  ASSERT_EQ(plugin().check(nullptr, 0, record.data()), 0);
  const auto u32At = [&](std::size_t offset) {
    std::uint32_t value;
    std::memcpy(&value, &record[offset], sizeof value);
    return value;
  };
  const auto textAt = [&](std::size_t offset) {
    const char* value;
    std::memcpy(&value, &record[offset], sizeof value);
    return std::string(value);
  };
  EXPECT_EQ(u32At(0), 147u);
  EXPECT_EQ(u32At(4), 0u);
  EXPECT_EQ(textAt(8), "*.mp4;*.m4v;*.m4a;*.ismv;*.isma;*.mpd;*.xml;*.ism;*.ismc");
  EXPECT_EQ(textAt(16), "MP4 - Fragmented MP4/SS Reader Writer");
  EXPECT_EQ(textAt(24), "MP4 - Fragmented/Smooth Streaming MP4 Reader Writer");
  EXPECT_EQ(u32At(32), 0x00500063u);
  EXPECT_EQ(u32At(36), 0xF1000000u);
  for (std::size_t i = 40; i < 56; ++i) EXPECT_EQ(record[i], 0) << i;
  for (std::size_t i = 56; i < 64; ++i) EXPECT_EQ(record[i], 0xEE) << "the record ends at 56, not " << i;
}

TEST(FormatQuery, AnyOtherIndexIsRefusedAndLeavesTheBufferUntouched) {
  for (const std::uint32_t index : {1u, 2u, 0xFFFFFFFEu}) {
    std::array<unsigned char, 56> record;
    record.fill(0xEE);
    EXPECT_EQ(plugin().check(nullptr, index, record.data()), 0xE8023026);
    EXPECT_THAT(record, Each(0xEE));
  }
}

TEST(FormatQuery, NeverLogs) {
  LogCapture log;
  std::array<unsigned char, 56> record;
  plugin().check(nullptr, 0xFFFFFFFF, record.data());
  plugin().check(nullptr, 0, record.data());
  plugin().check(nullptr, 7, record.data());
  EXPECT_TRUE(log.lines.empty());
}

TEST(DllMain, ReturnsTrueForEveryReason) {
  using Entry = std::int32_t (*)(void*, std::uint32_t, void*);
  const auto entry = reinterpret_cast<Entry>(vlOSGetProcAddress(plugin().library, "DllMain"));
  ASSERT_NE(entry, nullptr);
  for (std::uint32_t reason = 0; reason < 4; ++reason) EXPECT_EQ(entry(plugin().library, reason, nullptr), 1);
}

TEST(MediaFileEntry, CreateOnlyGivesAnUnopenedObject) {
  const MediaFile file = createObject();
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetTotalFrames(), 0u);
  EXPECT_EQ(file->Status(), 0u);
}

TEST(MediaFileEntry, CreationWithoutAnArgumentDoesNothing) {
  EXPECT_EQ(plugin().media(nullptr, 0, nullptr), 0);
  EXPECT_EQ(plugin().media(nullptr, 1, nullptr), 0);
}

TEST(MediaFileEntry, AFailingOpenLeavesNoObject) {
  LogCapture log;
  const TempFolder folder;
  EXPECT_EQ(openFile(folder.file("missing.mp4")), nullptr);
}

TEST(MediaFileEntry, OpensAndAnswersQueriesForNameAndFlags) {
  const TempFolder folder;
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1)}}};
  const std::string path = folder.file("clip.mp4");
  writeFile(path, join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {traf})}));
  const MediaFile file = openFile(path, 0x00000040);
  ASSERT_NE(file, nullptr);
  std::uint32_t flags = 0;
  EXPECT_EQ(plugin().media(file.get(), 0x7FFFFFFE, &flags), 0);
  EXPECT_EQ(flags, 0x00000040u);
  std::array<char, VL_MAX_PATH> name;
  EXPECT_EQ(plugin().media(file.get(), 0x7FFFFFFF, name.data()), 0);
  EXPECT_EQ(std::string(name.data()), path);
  EXPECT_STREQ(reinterpret_cast<const char*>(file.get()) + sizeof(void*), path.c_str())
      << "the name comes right after the virtual table pointer";
}

TEST(MediaFileEntry, QueriesWithoutObjectOrResultAreRefused) {
  const MediaFile file = createObject();
  std::uint64_t out = 0;
  for (const std::uint32_t query : {0x7FFFFFFEu, 0x7FFFFFFFu}) {
    EXPECT_EQ(plugin().media(file.get(), query, nullptr), -33);
    EXPECT_EQ(plugin().media(nullptr, query, &out), -33);
    EXPECT_EQ(static_cast<std::uint64_t>(plugin().media(nullptr, query, nullptr)), 0xFFFFFFFFFFFFFFDFu);
  }
}

TEST(MediaFileEntry, OtherCommandsGoToTheObject) {
  const MediaFile file = createObject();
  std::uint64_t argument = 0;
  EXPECT_EQ(plugin().media(file.get(), 3, &argument), VL_E_NOT_SUPPORTED) << "widened without sign extension";
  EXPECT_EQ(plugin().media(nullptr, 3, &argument), 0);
}

TEST(MediaFileEntry, CloseWithoutAnObjectDoesNothing) {
  std::uint64_t argument = 0;
  EXPECT_EQ(plugin().media(nullptr, 2, &argument), 0);
}

}  // namespace

}  // namespace fmp4
