#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>

#include "tests/host/file_access.h"

namespace fmp4 {

namespace {

TEST_F(File, PipesAreRejected) {
  ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ESPIPE));
}

TEST_F(File, CountMayBeTheLargestOf32Bits) {
  writeFile(m_path, counting(300));
  // Addresses only: pages are allocated as the bytes arrive.
  void* buffer =
      mmap(nullptr, kAllOnes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(buffer, MAP_FAILED);
  const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  std::uint32_t done = 0;
  EXPECT_EQ(vlOSReadFile(file, buffer, kAllOnes, &done), 1);
  EXPECT_EQ(done, 300u);
  EXPECT_EQ(static_cast<std::uint8_t*>(buffer)[299], 299 & 0xFF);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  munmap(buffer, kAllOnes);
}

TEST_F(File, ShortWriteReportsTheBytesWritten) {
  rlimit old = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  signal(SIGXFSZ, SIG_IGN);
  rlimit small = old;
  small.rlim_cur = 10000;
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  const Bytes bytes = counting(16384);
  std::uint32_t done = 0;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::int32_t result = vlOSWriteFile(file, bytes.data(), 16384, &done);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
  signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(done, 10000u);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EFBIG));
  EXPECT_EQ(vlOSTell(file), 10000);
  EXPECT_EQ(sizeOf(file), 10000u);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, FullDeviceAcceptsNothing) {
  const VLHANDLE file = openFile("/dev/full", kReadWrite, VL_OPEN_EXISTING);
  std::uint32_t done = 7;
  EXPECT_EQ(vlOSWriteFile(file, "x", 1, &done), 0);
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ENOSPC));
  EXPECT_EQ(vlOSTell(file), 0);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, DescriptorsAreNotInherited) {
  // The open takes the lowest free descriptor.
  const int next = dup(0);
  ASSERT_GE(next, 0);
  close(next);
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_NE(fcntl(next, F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(fcntl(next, F_GETFD), -1);
}

TEST_F(File, MoreFilesThanTheSoftLimitCanBeOpen) {
  rlimit old = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
  rlimit small = old;
  small.rlim_cur = 64;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &small), 0);
  writeFile(m_path, counting(8));
  std::set<VLHANDLE> files;
  for (int i = 0; i < 600; ++i) {
    const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
    ASSERT_NE(file, VL_INVALID_HANDLE) << i;
    files.insert(file);
  }
  EXPECT_EQ(files.size(), 600u) << "no handle is returned twice";
  rlimit raised = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &raised), 0);
  EXPECT_EQ(raised.rlim_cur, old.rlim_max);
  for (const VLHANDLE file : files) EXPECT_EQ(vlOSCloseFile(file), 1);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
}

// Under a hard limit of 32 descriptors: the error of the open that fails.
[[noreturn]] void exitWithErrorAtTheHardLimit(const std::string& path) {
  const rlimit small = {32, 32};
  if (setrlimit(RLIMIT_NOFILE, &small) != 0) _exit(0);
  for (int i = 0; i < 32; ++i) {
    if (openFile(path, kReadWrite, VL_OPEN_ALWAYS) == VL_INVALID_HANDLE) {
      _exit(static_cast<int>(vlOSGetLastError()));
    }
  }
  _exit(0);
}

TEST_F(File, TooManyFilesForTheHardLimitFailCleanly) {
  EXPECT_EXIT(exitWithErrorAtTheHardLimit(m_path), testing::ExitedWithCode(EMFILE), "");
}

}  // namespace

}  // namespace fmp4
