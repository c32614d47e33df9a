#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_folder.h"
#include "vlutil.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kReadWrite = VL_GENERIC_READ | VL_GENERIC_WRITE;
constexpr std::uint32_t kAllOnes = 0xFFFFFFFFu;

VLHANDLE openFile(const std::string& path, std::uint32_t access, std::uint32_t disposition) {
  return vlOSCreateFile(path.c_str(), access, VL_SHARE_READ_WRITE, nullptr, disposition, 0, VL_NO_HANDLE);
}

Bytes read(VLHANDLE file, std::uint32_t count) {
  Bytes bytes(count);
  std::uint32_t done = kAllOnes;
  EXPECT_EQ(vlOSReadFile(file, bytes.data(), count, &done), 1);
  EXPECT_LE(done, count);
  bytes.resize(done);
  return bytes;
}

void write(VLHANDLE file, const Bytes& bytes) {
  std::uint32_t done = 0;
  EXPECT_EQ(vlOSWriteFile(file, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &done), 1);
  EXPECT_EQ(done, bytes.size());
}

std::uint64_t sizeOf(VLHANDLE file) {
  std::uint32_t high = 0;
  const std::uint32_t low = vlOSGetFileSize(file, &high);
  return std::uint64_t{high} << 32 | low;
}

Bytes counting(std::size_t count) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

class File : public testing::Test {
 protected:
  TempFolder m_folder;
  const std::string m_path = m_folder.file("data.bin");
};

TEST_F(File, ReadsBackWhatWasWrittenAtThePosition) {
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  ASSERT_NE(file, VL_INVALID_HANDLE);
  EXPECT_NE(file, VL_NO_HANDLE);
  write(file, counting(100));
  EXPECT_EQ(vlOSTell(file), 100);
  EXPECT_EQ(vlOSSeek(file, 40, VL_SEEK_BEGIN), 40);
  EXPECT_EQ(read(file, 4), (Bytes{40, 41, 42, 43}));
  EXPECT_EQ(vlOSTell(file), 44);
  write(file, {200, 201});
  EXPECT_EQ(vlOSSeek(file, -4, VL_SEEK_CURRENT), 42);
  EXPECT_EQ(read(file, 6), (Bytes{42, 43, 200, 201, 46, 47}));
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(readFile(m_path).size(), 100u);
}

TEST_F(File, ReadsShortOnlyAtTheEnd) {
  writeFile(m_path, counting(10));
  const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  EXPECT_EQ(vlOSSeek(file, -3, VL_SEEK_END), 7);
  EXPECT_EQ(read(file, 8), (Bytes{7, 8, 9}));
  EXPECT_EQ(read(file, 8), Bytes());
  EXPECT_EQ(read(file, 0), Bytes());
  EXPECT_EQ(vlOSReadFile(file, nullptr, 0, nullptr), 1);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, SeekGoesPastTheEndButNotBeforeTheStart) {
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_NEW);
  EXPECT_EQ(vlOSSeek(file, 6, VL_SEEK_BEGIN), 6);
  EXPECT_EQ(read(file, 1), Bytes());
  EXPECT_EQ(vlOSSeek(file, -1, VL_SEEK_BEGIN), -1);
  EXPECT_EQ(vlOSSeek(file, -7, VL_SEEK_CURRENT), -1);
  EXPECT_EQ(vlOSSeek(file, -1, VL_SEEK_END), -1);
  EXPECT_EQ(vlOSSeek(file, 0, 3), -1);
  EXPECT_EQ(vlOSSeek(file, INT64_MAX, VL_SEEK_CURRENT), -1);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EINVAL));
  EXPECT_EQ(vlOSTell(file), 6) << "a refused seek moves nothing";
  write(file, {1});
  EXPECT_EQ(vlOSSeek(file, 0, VL_SEEK_END), 7);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(readFile(m_path), (Bytes{0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(File, SizeIsTheLiveOne) {
  const VLHANDLE writer = openFile(m_path, VL_GENERIC_WRITE, VL_CREATE_ALWAYS);
  const VLHANDLE reader = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  EXPECT_EQ(sizeOf(reader), 0u);
  write(writer, counting(1000));
  EXPECT_EQ(sizeOf(reader), 1000u);
  EXPECT_EQ(vlOSGetFileSize(reader, nullptr), 1000u);
  EXPECT_EQ(vlOSTell(reader), 0) << "two handles have two positions";
  EXPECT_EQ(vlOSCloseFile(reader), 1);
  EXPECT_EQ(vlOSCloseFile(writer), 1);
}

TEST_F(File, OffsetsGoBeyond4GiB) {
  constexpr std::int64_t kFar = 0x140000000;  // 5 GiB, all but the last byte a hole
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_EQ(vlOSSeek(file, kFar, VL_SEEK_BEGIN), kFar);
  write(file, {0x5A});
  std::uint32_t high = 0;
  EXPECT_EQ(vlOSGetFileSize(file, &high), 0x40000001u);
  EXPECT_EQ(high, 1u);
  EXPECT_EQ(vlOSSeek(file, -2, VL_SEEK_END), kFar - 1);
  EXPECT_EQ(read(file, 10), (Bytes{0, 0x5A}));
  EXPECT_EQ(vlOSTell(file), kFar + 1);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, CountMayBeTheLargestOf32Bits) {
  writeFile(m_path, counting(300));
  // Addresses only: pages come with the bytes that arrive.
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

TEST_F(File, DispositionsDecideWhatIsMadeAndKept) {
  EXPECT_EQ(openFile(m_path, kReadWrite, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ENOENT));
  EXPECT_EQ(vlOSFileExists(m_path.c_str()), 0);

  VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_NEW);
  write(file, counting(8));
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(vlOSFileExists(m_path.c_str()), 1);
  EXPECT_EQ(openFile(m_path, kReadWrite, VL_CREATE_NEW), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EEXIST));

  file = openFile(m_path, kReadWrite, VL_OPEN_ALWAYS);
  EXPECT_EQ(sizeOf(file), 8u);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  file = openFile(m_path, kReadWrite, VL_OPEN_EXISTING);
  EXPECT_EQ(sizeOf(file), 8u);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  file = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_EQ(sizeOf(file), 0u);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  file = openFile(m_folder.file("other.bin"), kReadWrite, VL_OPEN_ALWAYS);
  EXPECT_EQ(sizeOf(file), 0u);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, CreationWantsWriteAccess) {
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_CREATE_NEW), VL_INVALID_HANDLE);
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_OPEN_ALWAYS), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSFileExists(m_path.c_str()), 0);
  writeFile(m_path, counting(8));
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_CREATE_ALWAYS), VL_INVALID_HANDLE);
  EXPECT_EQ(readFile(m_path).size(), 8u);
  const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_ALWAYS);
  EXPECT_EQ(read(file, 2), (Bytes{0, 1}));
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, ArgumentsThatMeanNothingAreRefused) {
  writeFile(m_path, counting(8));
  EXPECT_EQ(openFile(m_path, 0, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(openFile(m_path, kReadWrite, 0), VL_INVALID_HANDLE);
  EXPECT_EQ(openFile(m_path, kReadWrite, 5), VL_INVALID_HANDLE);
  EXPECT_EQ(openFile("", VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSCreateFile(nullptr, VL_GENERIC_READ, 3, nullptr, VL_OPEN_EXISTING, 0, 0), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSFileExists(nullptr), 0);
  EXPECT_EQ(vlOSFileExists(""), 0);
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_OPEN_EXISTING);
  EXPECT_EQ(vlOSReadFile(file, nullptr, 1, nullptr), 0);
  EXPECT_EQ(vlOSWriteFile(file, nullptr, 1, nullptr), 0);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, FoldersAndPipesAreRefused) {
  const std::string folder = m_folder.path().string();
  EXPECT_EQ(openFile(folder, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EISDIR));
  EXPECT_EQ(openFile(folder, kReadWrite, VL_CREATE_ALWAYS), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSFileExists(folder.c_str()), 0);
  ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ESPIPE));
}

TEST_F(File, AccessThatWasNotAskedForIsRefused) {
  writeFile(m_path, counting(8));
  const VLHANDLE reader = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  std::uint32_t done = 7;
  EXPECT_EQ(vlOSWriteFile(reader, "x", 1, &done), 0);
  EXPECT_EQ(done, 0u);
  const VLHANDLE writer = openFile(m_path, VL_GENERIC_WRITE, VL_OPEN_EXISTING);
  char byte = 0;
  done = 7;
  EXPECT_EQ(vlOSReadFile(writer, &byte, 1, &done), 0);
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EBADF));
  EXPECT_EQ(vlOSCloseFile(reader), 1);
  EXPECT_EQ(vlOSCloseFile(writer), 1);
}

TEST_F(File, WriteThatIsCutShortTellsHowFarItCame) {
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

TEST_F(File, FullDeviceTakesNothing) {
  const VLHANDLE file = openFile("/dev/full", kReadWrite, VL_OPEN_EXISTING);
  std::uint32_t done = 7;
  EXPECT_EQ(vlOSWriteFile(file, "x", 1, &done), 0);
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ENOSPC));
  EXPECT_EQ(vlOSTell(file), 0);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, HandlesThatAreNotOpenFailEverywhere) {
  const VLHANDLE closed = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_EQ(vlOSCloseFile(closed), 1);
  const VLHANDLE successor = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_NE(successor, closed) << "a closed handle does not come back to life";
  for (const VLHANDLE file : {VL_NO_HANDLE, VL_INVALID_HANDLE, VL_INVALID_HANDLE - 1, closed, successor + 1,
                              successor ^ 0x8000000000000000u, VLHANDLE{0x100000}, VLHANDLE{0x100001}}) {
    char byte = 0;
    std::uint32_t done = 7;
    EXPECT_EQ(vlOSReadFile(file, &byte, 1, &done), 0);
    EXPECT_EQ(done, 0u);
    done = 7;
    EXPECT_EQ(vlOSWriteFile(file, &byte, 1, &done), 0);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(vlOSSeek(file, 0, VL_SEEK_BEGIN), -1);
    EXPECT_EQ(vlOSTell(file), -1);
    std::uint32_t high = 0;
    EXPECT_EQ(vlOSGetFileSize(file, &high), kAllOnes);
    EXPECT_EQ(high, kAllOnes);
    EXPECT_EQ(vlOSCloseFile(file), 0);
    EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EBADF));
  }
  EXPECT_EQ(vlOSCloseFile(successor), 1);
}

TEST_F(File, DescriptorsDoNotReachOtherPrograms) {
  // The lowest free descriptor is the one that the open takes.
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
  EXPECT_EQ(files.size(), 600u) << "no handle is given twice";
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

TEST_F(File, LastErrorIsTheThreadsOwn) {
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  std::thread([] {
    EXPECT_EQ(vlOSGetLastError(), 0u);
    EXPECT_EQ(vlOSCloseFile(VL_NO_HANDLE), 0);
    EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(EBADF));
  }).join();
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ENOENT));
}

TEST_F(File, ThreadsOpenUseAndCloseAtOnce) {
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([this, number] {
      const std::string path = m_folder.file(std::to_string(number));
      for (int i = 0; i < 200; ++i) {
        const VLHANDLE file = openFile(path, kReadWrite, VL_CREATE_ALWAYS);
        const Bytes bytes(16, static_cast<std::uint8_t>(number * 50 + i));
        write(file, bytes);
        EXPECT_EQ(vlOSSeek(file, 0, VL_SEEK_BEGIN), 0);
        EXPECT_EQ(read(file, 16), bytes);
        EXPECT_EQ(vlOSCloseFile(file), 1);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(File, ThreadsThatShareAHandleGetEachByteOnce) {
  writeFile(m_path, Bytes(4000, 1));
  const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  std::atomic<std::uint32_t> total = 0;
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&] {
      std::uint8_t bytes[7];
      std::uint32_t done = 0;
      while (vlOSReadFile(file, bytes, sizeof bytes, &done) == 1 && done > 0) total += done;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(total, 4000u);
  EXPECT_EQ(vlOSCloseFile(file), 1);
}

TEST_F(File, ClosingUnderAReaderIsSafe) {
  writeFile(m_path, counting(100));
  for (int i = 0; i < 100; ++i) {
    const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
    std::thread reader([file] {
      std::uint8_t bytes[10];
      std::uint32_t done = 0;
      while (vlOSSeek(file, 50, VL_SEEK_BEGIN) == 50 && vlOSReadFile(file, bytes, 10, &done) == 1) {
        EXPECT_EQ(done, 10u);
        EXPECT_EQ(bytes[0], 50);
      }
    });
    EXPECT_EQ(vlOSCloseFile(file), 1);
    reader.join();
  }
}

}  // namespace
