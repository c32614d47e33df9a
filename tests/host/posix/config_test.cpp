#include <sys/stat.h>

#include <filesystem>
#include <iterator>

#include "tests/host/config_store.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

using namespace config_test;

TEST_F(Config, SavingReplacesTheFileAndKeepsItsPermissionsAndLinks) {
  writeStore("K\\A=1\n");
  ASSERT_EQ(chmod(m_store.c_str(), 0640), 0);
  const std::string link = m_folder.file("link.conf");
  std::filesystem::create_symlink(m_store, link);
  const Environment environment("VLHOST_CONFIG", link.c_str());
  struct stat before = {};
  ASSERT_EQ(stat(m_store.c_str(), &before), 0);

  EXPECT_EQ(set("K", "A", 2), VL_OK);
  EXPECT_EQ(save(), VL_OK);

  struct stat after = {};
  ASSERT_EQ(stat(m_store.c_str(), &after), 0);
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode & 07777u, 0640u);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(textOf(m_store), "K\\A=2\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.path()), {}), 2)
      << "no temporary file remains";
}

TEST_F(Config, StoreIsInTheConfigurationFolder) {
  const Environment none("VLHOST_CONFIG", nullptr);
  const Environment home("HOME", m_folder.file("home").c_str());
  {
    const Environment xdg("XDG_CONFIG_HOME", m_folder.file("settings").c_str());
    EXPECT_EQ(set("K", "A", 1), VL_OK);
    EXPECT_EQ(save(), VL_OK);
    EXPECT_EQ(textOf(m_folder.file("settings/vlhost/vlhost.conf")), "K\\A=1\n");
  }
  {
    const Environment xdg("XDG_CONFIG_HOME", "relative");
    EXPECT_EQ(set("K", "A", 2), VL_OK);
    EXPECT_EQ(save(), VL_OK);
    EXPECT_EQ(textOf(m_folder.file("home/.config/vlhost/vlhost.conf")), "K\\A=2\n");
  }
  const Environment xdg("XDG_CONFIG_HOME", nullptr);
  const Environment nowhere("HOME", nullptr);
  EXPECT_EQ(set("K", "A", 3), VL_FAILED);
  EXPECT_EQ(save(), VL_FAILED);
}

// In a process of its own, as it holds for good.
TEST_F(Config, KeptUnsavedItIsReadBackAndNothingIsWritten) {
  EXPECT_EXIT(
      {
        vlKeepConfigUnsaved();
        const bool kept = set(kKey, kName, 3) == VL_OK && save() == VL_OK && get(kKey, kName) == 3u;
        std::exit(kept && !std::filesystem::exists(m_store) ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace

}  // namespace fmp4
