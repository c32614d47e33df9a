#include "os/disk_file.h"

#include <windows.h>

#include "os/win32/wide.h"

namespace fmp4::os {

namespace {

HANDLE handleOf(std::intptr_t file) {
  return reinterpret_cast<HANDLE>(file);
}

}  // namespace

bool DiskFile::open(const std::string& path) {
  close();
  const std::wstring name = nativePath(path.c_str());
  if (name.empty()) return false;
  file_ = reinterpret_cast<std::intptr_t>(CreateFileW(name.c_str(), GENERIC_WRITE,
                                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                      nullptr, OPEN_EXISTING, 0, nullptr));
  return file_ != kNone;
}

bool DiskFile::sync() {
  return file_ != kNone && FlushFileBuffers(handleOf(file_));
}

void DiskFile::claim(std::uint64_t /*offset*/, std::uint64_t /*count*/) {}

bool DiskFile::cut(std::uint64_t size) {
  LARGE_INTEGER present = {}, wanted = {};
  if (file_ == kNone || !GetFileSizeEx(handleOf(file_), &present)) return false;
  if (static_cast<std::uint64_t>(present.QuadPart) <= size) return true;
  wanted.QuadPart = static_cast<LONGLONG>(size);
  return SetFilePointerEx(handleOf(file_), wanted, nullptr, FILE_BEGIN) && SetEndOfFile(handleOf(file_));
}

void DiskFile::close() {
  if (file_ != kNone) CloseHandle(handleOf(file_));
  file_ = kNone;
}

// The file system journals directory entries before the data written to their files.
bool syncName(const std::string& /*path*/) {
  return true;
}

}  // namespace fmp4::os
