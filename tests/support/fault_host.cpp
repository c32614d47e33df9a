#include "tests/support/fault_host.h"

#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "vlutil.h"

namespace fmp4 {

namespace {

struct State {
  FaultPlan plan;
  std::uint64_t calls = 0;
  std::uint64_t steps = 0;
  bool happened = false;
  HostCallKind kind = HostCallKind::Write;
  DiskWaits waits;
  std::uint32_t mostBytes = 0;
  std::function<void(const HostCall&)> observer;
  std::map<VLHANDLE, std::string> paths;
};

State& state() {
  static State& only = *new State;
  return only;
}

// The function of this name that the program would have without this layer.
template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The outcome of a call that is to write so many bytes.
struct Verdict {
  bool fails = false;
  std::uint64_t bytes = 0;  // of a failing write: those written
  bool kills = false;       // after those bytes
};

Verdict judge(HostCallKind kind, std::uint64_t bytes) {
  State& s = state();
  const std::uint64_t before = s.steps;
  ++s.calls;
  s.steps += 1 + bytes;
  const FaultPlan& plan = s.plan;
  if (plan.fault == Fault::Kill && s.steps >= plan.at) return {true, plan.at - before - 1, true};
  const bool writes =
      kind == HostCallKind::Write || kind == HostCallKind::Replace || kind == HostCallKind::FlushStream;
  const bool now = plan.fault != Fault::None && plan.fault != Fault::Kill && s.calls == plan.at;
  const bool still = plan.fault == Fault::DiskFull && s.calls > plan.at && writes;
  if (!now && !still) return {};
  if (!s.happened) s.kind = kind;
  s.happened = true;
  return {true, now && plan.fault != Fault::Fail ? bytes / 2 : 0, false};
}

[[noreturn]] void dieNow() {
  kill(getpid(), SIGKILL);
  for (;;) pause();
}

void report(HostCallKind kind, const std::string& path, std::uint64_t offset = 0, std::uint64_t bytes = 0,
            std::string content = {}) {
  if (state().observer) state().observer({kind, path, offset, bytes, std::move(content)});
}

std::string pathOf(int descriptor) {
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), unknown).string();
}

std::string contentOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The result of a call that was judged before it was made: the verdict's failure, or the result of `work`,
// which is 0 on success.
template <class Work>
int judged(HostCallKind kind, int error, Work work) {
  const Verdict verdict = judge(kind, 0);
  if (verdict.kills) dieNow();
  if (!verdict.fails) return work();
  errno = error;
  return -1;
}

}  // namespace

void setFaults(FaultPlan plan) {
  State& s = state();
  s.plan = plan;
  s.calls = s.steps = 0;
  s.waits = {};
  s.happened = false;
}
std::uint64_t hostCalls() {
  return state().calls;
}
std::uint64_t hostSteps() {
  return state().steps;
}
HostCallKind faultedKind() {
  return state().kind;
}
bool faultHappened() {
  return state().happened;
}
void limitHostWrites(std::uint32_t bytes) {
  state().mostBytes = bytes;
}
DiskWaits diskWaits() {
  return state().waits;
}
void observeHostCalls(std::function<void(const HostCall&)> observer) {
  state().observer = std::move(observer);
}

}  // namespace fmp4

using namespace fmp4;

VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t share, void* security,
                        std::uint32_t disposition, std::uint32_t attributes, VLHANDLE templateFile) {
  static const auto create = next<decltype(vlOSCreateFile)>("vlOSCreateFile");
  const VLHANDLE handle = create(path, access, share, security, disposition, attributes, templateFile);
  if (handle != VL_INVALID_HANDLE) state().paths[handle] = path;
  return handle;
}

std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto write = next<decltype(vlOSWriteFile)>("vlOSWriteFile");
  const Verdict verdict = judge(HostCallKind::Write, count);
  if (!verdict.fails) {
    const auto offset = static_cast<std::uint64_t>(vlOSTell(file));
    if (state().mostBytes != 0) count = std::min(count, state().mostBytes);
    const std::int32_t result = write(file, buffer, count, done);
    if (result) report(HostCallKind::Write, state().paths[file], offset, count);
    return result;
  }
  const auto some = static_cast<std::uint32_t>(std::min<std::uint64_t>(verdict.bytes, count));
  if (some != 0) write(file, buffer, some, nullptr);
  if (verdict.kills) dieNow();
  if (done) *done = some;
  return 0;
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor) {
  ++state().waits.data;
  return judged(HostCallKind::Flush, EIO, [descriptor] {
    report(HostCallKind::Flush, pathOf(descriptor));
    return 0;
  });
}

extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
  struct stat status = {};
  const bool isFolder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
  ++(isFolder ? state().waits.names : state().waits.replacements);
  const HostCallKind kind = isFolder ? HostCallKind::FlushName : HostCallKind::FlushNew;
  return judged(kind, EIO, [&] {
    const std::string path = pathOf(descriptor);
    std::string content = isFolder ? "" : contentOf(path.c_str());
    report(kind, path, 0, content.size(), std::move(content));
    return 0;
  });
}

extern "C" __attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  static const auto move = next<int(const char*, const char*)>("rename");
  return judged(HostCallKind::Replace, EIO, [from, to] {
    std::string content = contentOf(from);
    const int result = move(from, to);
    if (result == 0) report(HostCallKind::Replace, to, 0, content.size(), std::move(content));
    return result;
  });
}

// Data buffered in a stream whose flush fails are written when it is closed, as may happen on a real disk.
extern "C" __attribute__((visibility("default"))) int fflush(std::FILE* stream) {
  static const auto flush = next<int(std::FILE*)>("fflush");
  if (!stream || stream == stdin || stream == stdout || stream == stderr) return flush(stream);
  const Verdict verdict = judge(HostCallKind::FlushStream, 0);
  if (verdict.kills) dieNow();
  if (verdict.fails) {
    errno = ENOSPC;
    return EOF;
  }
  const int result = flush(stream);
  if (result == 0) report(HostCallKind::FlushStream, "");
  return result;
}

extern "C" __attribute__((visibility("default"))) int truncate(const char* path, off_t length) noexcept {
  static const auto cut = next<int(const char*, off_t)>("truncate");
  return judged(HostCallKind::Cut, EIO, [path, length] {
    const int result = cut(path, length);
    if (result == 0) report(HostCallKind::Cut, path, static_cast<std::uint64_t>(length));
    return result;
  });
}

extern "C" __attribute__((visibility("default"))) int ftruncate(int descriptor, off_t length) noexcept {
  static const auto cut = next<int(int, off_t)>("ftruncate");
  return judged(HostCallKind::Cut, EIO, [descriptor, length] {
    const int result = cut(descriptor, length);
    if (result == 0) report(HostCallKind::Cut, pathOf(descriptor), static_cast<std::uint64_t>(length));
    return result;
  });
}
