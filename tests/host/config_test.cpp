#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_folder.h"
#include "vlutil.h"

namespace {

constexpr const char* kKey = "Framewright\\Codecs\\FFMPEG";
constexpr const char* kName = "AllowFFMPEG";

// Sets an environment variable, or takes it away, for the length of a test.
class Environment {
 public:
  Environment(const char* name, const char* value) : m_name(name) {
    if (const char* old = getenv(name)) m_old = old;
    set(value);
  }
  ~Environment() { set(m_old ? m_old->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  void set(const char* value) {
    if (value != nullptr) {
      setenv(m_name, value, 1);
    } else {
      unsetenv(m_name);
    }
  }

  const char* m_name;
  std::optional<std::string> m_old;
};

std::string textOf(const std::string& path) {
  const std::vector<std::uint8_t> bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

std::uint32_t set(const char* key, const char* name, std::uint32_t value) {
  return vlCFGValueDword(VL_CFG_DEFAULT_ROOT, key, name, &value, VL_CFG_WRITE);
}

std::optional<std::uint32_t> get(const char* key, const char* name) {
  std::uint32_t value = 12345;
  if (vlCFGValueDword(VL_CFG_DEFAULT_ROOT, key, name, &value, VL_CFG_READ) == VL_OK) return value;
  EXPECT_EQ(value, 12345u) << "a value that does not exist leaves the variable alone";
  return std::nullopt;
}

std::uint32_t save() {
  return vlCFGSave(VL_CFG_DEFAULT_ROOT, 0);
}

class Config : public testing::Test {
 protected:
  void writeStore(const std::string& text) { writeFile(m_store, {text.begin(), text.end()}); }

  TempFolder m_folder;
  const std::string m_store = m_folder.file("store.conf");
  Environment m_environment{"VLHOST_CONFIG", m_store.c_str()};
};

TEST_F(Config, ValueThatDoesNotExistIsReportedAndNothingIsWritten) {
  EXPECT_EQ(get(kKey, kName), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(m_store));
}

TEST_F(Config, SetValueIsReadBackAndReachesTheDiskWithSave) {
  EXPECT_EQ(set(kKey, kName, 1), VL_OK);
  EXPECT_EQ(get(kKey, kName), 1u);
  EXPECT_FALSE(std::filesystem::exists(m_store));
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=1\n");
  EXPECT_EQ(get(kKey, kName), 1u);
}

TEST_F(Config, WholeRangeOf32BitsIsHeld) {
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

TEST_F(Config, ValueThatIsNoNumberDoesNotExistUntilItIsSet) {
  for (const char* text : {"", "x", "-1", "4294967296", "1 2", "0x10", "1.5"}) {
    writeStore(std::string("K\\A=") + text + "\n");
    EXPECT_EQ(get("K", "A"), std::nullopt) << text;
  }
  EXPECT_EQ(set("K", "A", 4), VL_OK);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "K\\A=4\n");
}

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
      << "no temporary file stays";
}

TEST_F(Config, SavingWithoutChangesTouchesNothing) {
  EXPECT_EQ(save(), VL_OK);
  EXPECT_FALSE(std::filesystem::exists(m_store));
}

TEST_F(Config, FailedSaveKeepsWhatWasSet) {
  std::filesystem::create_directory(m_store);
  EXPECT_EQ(set("K", "A", 2), VL_OK);
  EXPECT_EQ(save(), VL_FAILED);
  EXPECT_EQ(get("K", "A"), 2u);
  std::filesystem::remove(m_store);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_store), "K\\A=2\n");
}

TEST_F(Config, StoreTooLargeToBeOneIsLeftAlone) {
  const std::string large((1 << 20) + 1, '#');
  writeStore(large);
  EXPECT_EQ(get("K", "A"), std::nullopt);
  EXPECT_EQ(set("K", "A", 2), VL_OK);
  EXPECT_EQ(save(), VL_FAILED);
  EXPECT_EQ(textOf(m_store), large);
  std::filesystem::remove(m_store);
  EXPECT_EQ(save(), VL_OK);
}

TEST_F(Config, ArgumentsThatNoLineCanHoldAreRefused) {
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

TEST_F(Config, StoreLiesInTheConfigurationFolder) {
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

TEST_F(Config, ThreadsSetReadAndSaveAtOnce) {
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
