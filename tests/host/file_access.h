// Files opened, read and written through the host, for its tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4 {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t kReadWrite = VL_GENERIC_READ | VL_GENERIC_WRITE;
inline constexpr std::uint32_t kAllOnes = 0xFFFFFFFFu;

inline VLHANDLE openFile(const std::string& path, std::uint32_t access, std::uint32_t disposition) {
  return vlOSCreateFile(path.c_str(), access, VL_SHARE_READ_WRITE, nullptr, disposition, 0, VL_NO_HANDLE);
}

inline Bytes read(VLHANDLE file, std::uint32_t count) {
  Bytes bytes(count);
  std::uint32_t done = kAllOnes;
  EXPECT_EQ(vlOSReadFile(file, bytes.data(), count, &done), 1);
  EXPECT_LE(done, count);
  bytes.resize(done);
  return bytes;
}

inline void write(VLHANDLE file, const Bytes& bytes) {
  std::uint32_t done = 0;
  EXPECT_EQ(vlOSWriteFile(file, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &done), 1);
  EXPECT_EQ(done, bytes.size());
}

inline std::uint64_t sizeOf(VLHANDLE file) {
  std::uint32_t high = 0;
  const std::uint32_t low = vlOSGetFileSize(file, &high);
  return std::uint64_t{high} << 32 | low;
}

inline Bytes counting(std::size_t count) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

class File : public testing::Test {
 protected:
  TempFolder m_folder;
  const std::string m_path = m_folder.file("data.bin");
};

}  // namespace fmp4
