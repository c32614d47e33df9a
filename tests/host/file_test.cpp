#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/file_access.h"
#include "tests/support/system_errors.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

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

// What a watch has been told, a line for each event.
struct Watched {
  static void opened(void* context, const char* path, VLHANDLE file) {
    auto& self = *static_cast<Watched*>(context);
    self.file = file;
    self.events.push_back(std::string("opened ") + path);
  }
  static void read(void* context, VLHANDLE file, std::uint64_t offset, const void* bytes,
                   std::uint32_t count) {
    auto& self = *static_cast<Watched*>(context);
    EXPECT_EQ(file, self.file);
    self.events.push_back("read " + std::to_string(offset));
    self.bytes.assign(static_cast<const std::uint8_t*>(bytes),
                      static_cast<const std::uint8_t*>(bytes) + count);
  }

  VLHANDLE file = VL_NO_HANDLE;
  std::vector<std::string> events;
  Bytes bytes;  // of the last read
};

TEST_F(File, AWatchIsToldWhatItsThreadOpensAndReads) {
  writeFile(m_path, counting(10));
  Watched watched;
  const VLFILEWATCH watch = {&watched, Watched::opened, Watched::read};
  vlWatchFiles(&watch);
  const VLHANDLE file = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  vlOSSeek(file, 4, VL_SEEK_BEGIN);
  read(file, 2);
  EXPECT_EQ(watched.bytes, (Bytes{4, 5}));
  read(file, 20);
  EXPECT_EQ(watched.bytes, (Bytes{6, 7, 8, 9})) << "as much as there is";
  std::thread([file] {
    std::uint8_t byte = 0;
    std::uint32_t done = 0;
    vlOSSeek(file, 0, VL_SEEK_BEGIN);
    vlOSReadFile(file, &byte, 1, &done);
  }).join();
  vlWatchFiles(nullptr);
  read(file, 1);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(watched.file, file);
  EXPECT_EQ(watched.events, (std::vector<std::string>{"opened " + m_path, "read 4", "read 6"}));
}

TEST_F(File, ReadsAreShortOnlyAtTheEnd) {
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
  EXPECT_EQ(vlOSGetLastError(), kErrorBeforeStart);
  EXPECT_EQ(vlOSTell(file), 6) << "a rejected seek moves nothing";
  write(file, {1});
  EXPECT_EQ(vlOSSeek(file, 0, VL_SEEK_END), 7);
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(readFile(m_path), (Bytes{0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(File, SizeIsAlwaysCurrent) {
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
  constexpr std::int64_t kFar = 0x140000000;  // 5 GiB, a hole except for the last byte
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

TEST_F(File, DispositionsDecideWhatIsCreatedAndKept) {
  EXPECT_EQ(openFile(m_path, kReadWrite, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), kErrorNotFound);
  EXPECT_EQ(vlOSFileExists(m_path.c_str()), 0);

  VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_NEW);
  write(file, counting(8));
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(vlOSFileExists(m_path.c_str()), 1);
  EXPECT_EQ(openFile(m_path, kReadWrite, VL_CREATE_NEW), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), kErrorExists);

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

TEST_F(File, CreationRequiresWriteAccess) {
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

TEST_F(File, InvalidArgumentsAreRejected) {
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

TEST_F(File, FoldersAreRejected) {
  const std::string folder = m_folder.path().string();
  EXPECT_EQ(openFile(folder, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), kErrorIsFolder);
  EXPECT_EQ(openFile(folder, kReadWrite, VL_CREATE_ALWAYS), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSFileExists(folder.c_str()), 0);
}

TEST_F(File, AccessThatWasNotRequestedIsDenied) {
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
  EXPECT_EQ(vlOSGetLastError(), kErrorNoAccess);
  EXPECT_EQ(vlOSCloseFile(reader), 1);
  EXPECT_EQ(vlOSCloseFile(writer), 1);
}

TEST_F(File, InvalidHandlesFailEverywhere) {
  const VLHANDLE closed = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_EQ(vlOSCloseFile(closed), 1);
  const VLHANDLE successor = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  EXPECT_NE(successor, closed) << "a closed handle is not reused";
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
    EXPECT_EQ(vlOSGetLastError(), kErrorNotOpen);
  }
  EXPECT_EQ(vlOSCloseFile(successor), 1);
}

TEST_F(File, LastErrorIsPerThread) {
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  std::thread([] {
    EXPECT_EQ(vlOSGetLastError(), 0u);
    EXPECT_EQ(vlOSCloseFile(VL_NO_HANDLE), 0);
    EXPECT_EQ(vlOSGetLastError(), kErrorNotOpen);
  }).join();
  EXPECT_EQ(vlOSGetLastError(), kErrorNotFound);
}

TEST_F(File, ThreadsOpenUseAndCloseConcurrently) {
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

TEST_F(File, ThreadsThatShareAHandleReadEachByteOnce) {
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

TEST_F(File, ClosingDuringAReadIsSafe) {
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

}  // namespace fmp4
