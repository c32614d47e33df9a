// The host's configuration store in a file of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4::config_test {

inline constexpr const char* kKey = "Framewright\\Codecs\\FFMPEG";
inline constexpr const char* kName = "AllowFFMPEG";

inline std::string textOf(const std::string& path) {
  const std::vector<std::uint8_t> bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

inline std::uint32_t set(const char* key, const char* name, std::uint32_t value) {
  return vlCFGValueDword(VL_CFG_DEFAULT_ROOT, key, name, &value, VL_CFG_WRITE);
}

inline std::optional<std::uint32_t> get(const char* key, const char* name) {
  std::uint32_t value = 12345;
  if (vlCFGValueDword(VL_CFG_DEFAULT_ROOT, key, name, &value, VL_CFG_READ) == VL_OK) return value;
  EXPECT_EQ(value, 12345u) << "a missing value leaves the variable unchanged";
  return std::nullopt;
}

inline std::uint32_t save() {
  return vlCFGSave(VL_CFG_DEFAULT_ROOT, 0);
}

class Config : public testing::Test {
 protected:
  void writeStore(const std::string& text) { writeFile(m_store, {text.begin(), text.end()}); }

  TempFolder m_folder;
  const std::string m_store = m_folder.file("store.conf");
  Environment m_environment{"VLHOST_CONFIG", m_store.c_str()};
};

}  // namespace fmp4::config_test
