#include <windows.h>

#include "os/path_name.h"
#include "os/replace_file.h"
#include "tests/host/file_access.h"

namespace fmp4 {

namespace {

// A folder below `m_folder` and a file in it, with names that no single code page can encode.
const std::string kFolder = "Ordner mit Größe";
const std::string kName = "Aufnahme Nº 1 – 東京 🎬.bin";

TEST_F(File, NamesAreUtf8WithEitherSeparatorAndADrive) {
  std::filesystem::create_directory(m_folder.path() / vlPath(kFolder));
  const std::string folder = vlName(m_folder.path());
  ASSERT_EQ(folder.substr(1, 2), ":\\");
  const std::string path = folder + "/" + kFolder + "\\" + kName;
  const VLHANDLE file = openFile(path, kReadWrite, VL_CREATE_NEW);
  ASSERT_NE(file, VL_INVALID_HANDLE) << vlOSGetLastError();
  write(file, {1, 2, 3});
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(vlOSFileExists(path.c_str()), 1);
  EXPECT_EQ(readFile(m_folder.path() / vlPath(kFolder) / vlPath(kName)), (Bytes{1, 2, 3}));
  const char kNoUtf8[] = "C:\\\xFF.bin";
  EXPECT_EQ(openFile(kNoUtf8, kReadWrite, VL_CREATE_NEW), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ERROR_NO_UNICODE_TRANSLATION));
}

TEST_F(File, NamesMayExceedWindowsLimitWithoutAPrefix) {
  std::string path = vlName(m_folder.path());
  for (int i = 0; i < 4; ++i) {
    path += "/" + std::string(100, static_cast<char>('a' + i));
    CreateDirectoryW(vlPath("\\\\?\\" + path).make_preferred().c_str(), nullptr);
  }
  path += "/data.bin";
  ASSERT_GT(path.size(), 400u);
  const VLHANDLE file = openFile(path, kReadWrite, VL_CREATE_NEW);
  ASSERT_NE(file, VL_INVALID_HANDLE) << vlOSGetLastError();
  write(file, {7});
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_EQ(vlOSFileExists(path.c_str()), 1);
  EXPECT_FALSE(os::replaceFile(path, "xyz"));
  const VLHANDLE again = openFile(path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  EXPECT_EQ(read(again, 9), (Bytes{'x', 'y', 'z'}));
  EXPECT_EQ(vlOSCloseFile(again), 1);
}

TEST_F(File, ShareModeDecidesWhoElseMayOpen) {
  const VLHANDLE writer = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  write(writer, {1, 2});
  const VLHANDLE reader = openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING);
  EXPECT_EQ(read(reader, 5), (Bytes{1, 2})) << "open elsewhere for writing, and readable";
  write(writer, {3});
  EXPECT_EQ(read(reader, 5), (Bytes{3}));
  EXPECT_FALSE(DeleteFileA(m_path.c_str())) << "share mode 3 shares reading and writing, not deletion";
  EXPECT_EQ(vlOSCloseFile(reader), 1);
  EXPECT_EQ(vlOSCloseFile(writer), 1);

  const VLHANDLE alone =
      vlOSCreateFile(m_path.c_str(), kReadWrite, 0, nullptr, VL_OPEN_EXISTING, 0, VL_NO_HANDLE);
  EXPECT_EQ(openFile(m_path, VL_GENERIC_READ, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(vlOSCloseFile(alone), 1);
}

TEST_F(File, OtherThanDiskFilesAreRejected) {
  EXPECT_EQ(openFile("NUL", kReadWrite, VL_OPEN_EXISTING), VL_INVALID_HANDLE);
  EXPECT_EQ(vlOSGetLastError(), static_cast<std::uint32_t>(ERROR_SEEK_ON_DEVICE));
}

TEST_F(File, HandlesAreNotInherited) {
  const VLHANDLE file = openFile(m_path, kReadWrite, VL_CREATE_ALWAYS);
  // A program started with all inheritable handles does not keep the file from being replaced.
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  char command[] = "cmd.exe /c pause";
  ASSERT_TRUE(CreateProcessA(nullptr, command, nullptr, nullptr, TRUE, CREATE_NO_WINDOW | CREATE_SUSPENDED,
                             nullptr, nullptr, &startup, &process));
  EXPECT_EQ(vlOSCloseFile(file), 1);
  EXPECT_TRUE(DeleteFileA(m_path.c_str())) << GetLastError();
  TerminateProcess(process.hProcess, 0);
  WaitForSingleObject(process.hProcess, INFINITE);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

}  // namespace

}  // namespace fmp4
