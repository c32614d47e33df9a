#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/config_store.h"

namespace fmp4 {

namespace {

using namespace config_test;

TEST_F(Config, MissingValueIsReportedAndNothingIsWritten) {
  EXPECT_EQ(get(kKey, kName), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(m_store));
}

TEST_F(Config, SetValueIsReadBackAndReachesTheDiskOnSave) {
  EXPECT_EQ(set(kKey, kName, 1), VL_OK);
  EXPECT_EQ(get(kKey, kName), 1u);
  EXPECT_FALSE(std::filesystem::exists(m_store));
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=1\n");
  EXPECT_EQ(get(kKey, kName), 1u);
}

TEST_F(Config, FullRangeOf32BitsIsKept) {
  EXPECT_EQ(set("K", "Most", 4294967295u), VL_OK);
  EXPECT_EQ(set("K", "Least", 0), VL_OK);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "K\\Least=0\nK\\Most=4294967295\n");
  EXPECT_EQ(get("K", "Most"), 4294967295u);
  EXPECT_EQ(get("K", "Least"), 0u);
}

TEST_F(Config, EditsFromOutsideAreSeen) {
  writeStore("Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=0\n");
  EXPECT_EQ(get(kKey, kName), 0u);
  writeStore("  Framewright\\Codecs\\FFMPEG\\AllowFFMPEG = 7 \r\n");
  EXPECT_EQ(get(kKey, kName), 7u);
}

TEST_F(Config, SavingKeepsCommentsAndUnknownLines) {
  writeStore("# K\\A=9\n; K\\A=8\n\nnot a setting\nK\\A=1\nOther\\X=text = more\nK\\A=3");
  EXPECT_EQ(get("K", "A"), 1u);
  EXPECT_EQ(set("K", "A", 2), VL_OK);
  EXPECT_EQ(set("K", "B", 5), VL_OK);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store),
            "# K\\A=9\n; K\\A=8\n\nnot a setting\nK\\A=2\nOther\\X=text = more\nK\\A=3\nK\\B=5\n");
}

TEST_F(Config, ValueThatIsNotANumberIsMissingUntilItIsSet) {
  for (const char* text : {"", "x", "-1", "4294967296", "1 2", "0x10", "1.5"}) {
    writeStore(std::string("K\\A=") + text + "\n");
    EXPECT_EQ(get("K", "A"), std::nullopt) << text;
  }
  EXPECT_EQ(set("K", "A", 4), VL_OK);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "K\\A=4\n");
}

TEST_F(Config, SavingWithoutChangesWritesNothing) {
  EXPECT_EQ(save(), VL_OK);
  EXPECT_FALSE(std::filesystem::exists(m_store));
}

TEST_F(Config, FailedSaveKeepsTheValues) {
  std::filesystem::create_directory(m_store);
  EXPECT_EQ(set("K", "A", 2), VL_OK);
  EXPECT_EQ(save(), VL_FAILED);
  EXPECT_EQ(get("K", "A"), 2u);
  std::filesystem::remove(m_store);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "K\\A=2\n");
}

TEST_F(Config, StoreOfTheLargestSizeIsRead) {
  const std::string setting = "\nK\\A=1\n";
  writeStore(std::string((1 << 20) - setting.size(), '#') + setting);
  EXPECT_EQ(get("K", "A"), 1u);
}

TEST_F(Config, OversizedStoreIsLeftUnchanged) {
  const std::string large((1 << 20) + 1, '#');
  writeStore(large);
  EXPECT_EQ(get("K", "A"), std::nullopt);
  EXPECT_EQ(set("K", "A", 2), VL_OK);
  EXPECT_EQ(save(), VL_FAILED);
  EXPECT_EQ(textOf(m_store), large);
  std::filesystem::remove(m_store);
  EXPECT_EQ(save(), VL_OK);
}

TEST_F(Config, ArgumentsThatNoLineCanHoldAreRejected) {
  EXPECT_EQ(set("K", "A=B", 1), VL_FAILED);
  EXPECT_EQ(set("K", "A\nB", 1), VL_FAILED);
  EXPECT_EQ(set("#K", "A", 1), VL_FAILED);
  EXPECT_EQ(set(" K", "A", 1), VL_FAILED);
  EXPECT_EQ(set(nullptr, "A", 1), VL_FAILED);
  EXPECT_EQ(set("K", nullptr, 1), VL_FAILED);
  std::uint32_t value = 1;
  EXPECT_EQ(vlCFGValueDword(0, "K", "A", &value, VL_CFG_WRITE), VL_FAILED);
  EXPECT_EQ(vlCFGValueDword(VL_CFG_DEFAULT_ROOT, "K", "A", &value, 2), VL_FAILED);
  EXPECT_EQ(vlCFGValueDword(VL_CFG_DEFAULT_ROOT, "K", "A", nullptr, VL_CFG_READ), VL_FAILED);
  EXPECT_EQ(vlCFGSave(0, 0), VL_FAILED);
}

TEST_F(Config, ThreadsSetReadAndSaveConcurrently) {
  std::vector<std::thread> threads;
  for (std::uint32_t number = 0; number < 4; ++number) {
    threads.emplace_back([number] {
      const std::string name = "N" + std::to_string(number);
      for (std::uint32_t i = 0; i < 20; ++i) {
        EXPECT_EQ(set("K", name.c_str(), i), VL_OK);
        EXPECT_EQ(get("K", name.c_str()), i);
        EXPECT_EQ(save(), VL_OK);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::string text = textOf(m_store);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
  for (int number = 0; number < 4; ++number) {
    EXPECT_NE(text.find("K\\N" + std::to_string(number) + "=19\n"), std::string::npos);
  }
}

}  // namespace

}  // namespace fmp4
