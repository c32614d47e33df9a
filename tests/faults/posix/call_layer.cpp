// On Linux a program's own functions come before those of its libraries, in the libraries too.
#include <dlfcn.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "tests/faults/call_plan.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

// Whether the call fails, as a disk that cannot be read does.
bool failsHere(CallKind kind) {
  if (!callFails(kind)) return false;
  errno = EIO;
  return true;
}

// The function of this name that the program would have without this layer.
template <class Function>
Function* without(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t share, void* security,
                        std::uint32_t disposition, std::uint32_t attributes, VLHANDLE templateFile) {
  static const auto create = without<decltype(vlOSCreateFile)>("vlOSCreateFile");
  if (failsHere(CallKind::Open)) return VL_INVALID_HANDLE;
  return create(path, access, share, security, disposition, attributes, templateFile);
}

std::int32_t vlOSReadFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto readOn = without<decltype(vlOSReadFile)>("vlOSReadFile");
  if (!failsHere(CallKind::Read)) return readOn(file, buffer, count, done);
  if (done) *done = 0;
  return 0;
}

std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto writeOn = without<decltype(vlOSWriteFile)>("vlOSWriteFile");
  if (!failsHere(CallKind::Write)) return writeOn(file, buffer, count, done);
  if (done) *done = 0;
  return 0;
}

std::int64_t vlOSSeek(VLHANDLE file, std::int64_t offset, std::uint32_t origin) {
  static const auto seek = without<decltype(vlOSSeek)>("vlOSSeek");
  return failsHere(CallKind::Seek) ? -1 : seek(file, offset, origin);
}

std::uint32_t vlOSGetFileSize(VLHANDLE file, std::uint32_t* high) {
  static const auto size = without<decltype(vlOSGetFileSize)>("vlOSGetFileSize");
  if (!failsHere(CallKind::Size)) return size(file, high);
  if (high) *high = 0xFFFFFFFF;
  return 0xFFFFFFFF;
}

void* vlOSLoadLibrary(const char* name, std::uint32_t mode) {
  static const auto load = without<decltype(vlOSLoadLibrary)>("vlOSLoadLibrary");
  return failsHere(CallKind::Library) ? nullptr : load(name, mode);
}

extern "C" __attribute__((visibility("default"))) ssize_t read(int file, void* buffer, std::size_t count) {
  static const auto readOn = without<ssize_t(int, void*, std::size_t)>("read");
  return failsHere(CallKind::Read) ? -1 : readOn(file, buffer, count);
}

extern "C" __attribute__((visibility("default"))) ssize_t write(int file, const void* buffer,
                                                                std::size_t count) {
  static const auto writeOn = without<ssize_t(int, const void*, std::size_t)>("write");
  return failsHere(CallKind::Write) ? -1 : writeOn(file, buffer, count);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int) {
  return failsHere(CallKind::Flush) ? -1 : 0;
}

extern "C" __attribute__((visibility("default"))) int fsync(int) {
  return failsHere(CallKind::Flush) ? -1 : 0;
}

extern "C" __attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  static const auto move = without<int(const char*, const char*)>("rename");
  return failsHere(CallKind::Replace) ? -1 : move(from, to);
}

extern "C" __attribute__((visibility("default"))) int ftruncate(int file, off_t length) noexcept {
  static const auto cut = without<int(int, off_t)>("ftruncate");
  return failsHere(CallKind::Cut) ? -1 : cut(file, length);
}

extern "C" __attribute__((visibility("default"))) int fflush(std::FILE* stream) {
  static const auto flush = without<int(std::FILE*)>("fflush");
  const bool ofFile = stream && stream != stdin && stream != stdout && stream != stderr;
  return ofFile && failsHere(CallKind::Stream) ? EOF : flush(stream);
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
  static const auto now = without<int(clockid_t, timespec*)>("clock_gettime");
  const int result = now(clock, time);
  if (clock == CLOCK_REALTIME && failsHere(CallKind::Clock)) time->tv_sec -= 24 * 3600;
  return result;
}
