// On Linux a program's own functions come before those of its libraries, in the libraries too.
#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "tests/support/fault_layer.h"

namespace fmp4 {

namespace {

// The function of this name that the program would have without this layer.
template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::string pathOf(int descriptor) {
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), unknown).string();
}

// The result of a call that was judged before it was made: the verdict's failure, or the result of `work`,
// which is 0 on success.
template <class Work>
int judged(HostCallKind kind, int error, Work work) {
  const Verdict verdict = judgeCall(kind);
  if (verdict.kills) dieNow();
  if (!verdict.fails) return work();
  errno = error;
  return -1;
}

}  // namespace

void dieNow() {
  kill(getpid(), SIGKILL);
  for (;;) pause();
}

}  // namespace fmp4

using namespace fmp4;

VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t share, void* security,
                        std::uint32_t disposition, std::uint32_t attributes, VLHANDLE templateFile) {
  static const auto create = next<decltype(vlOSCreateFile)>("vlOSCreateFile");
  return createWatched(create, path, access, share, security, disposition, attributes, templateFile);
}

std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto write = next<decltype(vlOSWriteFile)>("vlOSWriteFile");
  return writeJudged(write, file, buffer, count, done);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor) {
  countWait(HostCallKind::Flush);
  return judged(HostCallKind::Flush, EIO, [descriptor] {
    reportCall(HostCallKind::Flush, pathOf(descriptor));
    return 0;
  });
}

extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
  struct stat status = {};
  const bool isFolder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
  const HostCallKind kind = isFolder ? HostCallKind::FlushName : HostCallKind::FlushNew;
  countWait(kind);
  return judged(kind, EIO, [&] {
    const std::string path = pathOf(descriptor);
    std::string content = isFolder ? "" : contentOf(path);
    reportCall(kind, path, 0, content.size(), std::move(content));
    return 0;
  });
}

extern "C" __attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  static const auto move = next<int(const char*, const char*)>("rename");
  return judged(HostCallKind::Replace, EIO, [from, to] {
    std::string content = contentOf(from);
    const int result = move(from, to);
    if (result == 0) reportCall(HostCallKind::Replace, to, 0, content.size(), std::move(content));
    return result;
  });
}

// Data buffered in a stream whose flush fails are written when it is closed, as may happen on a real disk.
extern "C" __attribute__((visibility("default"))) int fflush(std::FILE* stream) {
  static const auto flush = next<int(std::FILE*)>("fflush");
  if (!stream || stream == stdin || stream == stdout || stream == stderr) return flush(stream);
  return judged(HostCallKind::FlushStream, ENOSPC, [stream] {
    const int result = flush(stream);
    if (result == 0) reportCall(HostCallKind::FlushStream, "");
    return result;
  });
}

extern "C" __attribute__((visibility("default"))) int truncate(const char* path, off_t length) noexcept {
  static const auto cut = next<int(const char*, off_t)>("truncate");
  return judged(HostCallKind::Cut, EIO, [path, length] {
    const int result = cut(path, length);
    if (result == 0) reportCall(HostCallKind::Cut, path, static_cast<std::uint64_t>(length));
    return result;
  });
}

extern "C" __attribute__((visibility("default"))) int ftruncate(int descriptor, off_t length) noexcept {
  static const auto cut = next<int(int, off_t)>("ftruncate");
  return judged(HostCallKind::Cut, EIO, [descriptor, length] {
    const int result = cut(descriptor, length);
    if (result == 0) reportCall(HostCallKind::Cut, pathOf(descriptor), static_cast<std::uint64_t>(length));
    return result;
  });
}
