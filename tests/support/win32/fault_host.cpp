// Windows binds names to libraries: the layer takes the place of what the modules under test have imported.
#include <windows.h>

#include <cstdio>

#include "os/path_name.h"
#include "recording/existing_paths.h"
#include "tests/support/fault_layer.h"
#include "tests/support/win32/import_table.h"

namespace fmp4 {

namespace {

std::string pathOf(HANDLE file) {
  std::wstring path(GetFinalPathNameByHandleW(file, nullptr, 0, VOLUME_NAME_DOS), L'\0');
  path.resize(GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), VOLUME_NAME_DOS));
  return vlName(path);
}

// Whether a file is to replace another: named after it, with the process and a number ("out.mpd.32-1").
bool isReplacement(const std::string& path) {
  return path.find_last_of('-') != std::string::npos &&
         path.find_first_not_of("0123456789", path.find_last_of('-') + 1) == std::string::npos;
}

// The result of a call that was judged before it was made: the verdict's failure, or the result of `work`.
template <class Work>
BOOL judged(HostCallKind kind, Work work) {
  const Verdict verdict = judgeCall(kind);
  if (verdict.kills) dieNow();
  if (!verdict.fails) return work();
  SetLastError(ERROR_IO_DEVICE);
  return FALSE;
}

VLHANDLE createFile(const char* path, std::uint32_t access, std::uint32_t share, void* security,
                    std::uint32_t disposition, std::uint32_t attributes, VLHANDLE templateFile) {
  static const auto create = exported<decltype(vlOSCreateFile)>("vlhost.dll", "vlOSCreateFile");
  return createWatched(create, path, access, share, security, disposition, attributes, templateFile);
}

std::int32_t writeFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto write = exported<decltype(vlOSWriteFile)>("vlhost.dll", "vlOSWriteFile");
  return writeJudged(write, file, buffer, count, done);
}

// The file that is to replace another, after it was synchronised. Nobody else can read it before it is
// closed, so the observer learns of the sync when the file is moved into place.
std::string& syncedReplacement() {
  static std::string path;
  return path;
}

BOOL WINAPI flushFile(HANDLE file) {
  const std::string path = pathOf(file);
  const HostCallKind kind = isReplacement(path) ? HostCallKind::FlushNew : HostCallKind::Flush;
  countWait(kind);
  return judged(kind, [&] {
    if (kind == HostCallKind::FlushNew) {
      syncedReplacement() = fileNameOf(path);
    } else {
      reportCall(kind, path);
    }
    return TRUE;
  });
}

// A replacement that is written through waits for the name too.
BOOL WINAPI moveFile(const wchar_t* from, const wchar_t* to, DWORD flags) {
  static const auto move = exported<decltype(MoveFileExW)>("kernel32.dll", "MoveFileExW");
  const bool waits = (flags & MOVEFILE_WRITE_THROUGH) != 0;
  if (waits) countWait(HostCallKind::FlushName);
  const std::string source = vlName(from), target = vlName(to);
  const std::string content = contentOf(source);
  if (fileNameOf(source) == syncedReplacement())
    reportCall(HostCallKind::FlushNew, source, 0, content.size(), content);
  return judged(HostCallKind::Replace, [&] {
    if (!move(from, to, flags & ~DWORD{MOVEFILE_WRITE_THROUGH})) return FALSE;
    reportCall(HostCallKind::Replace, target, 0, content.size(), content);
    if (waits) reportCall(HostCallKind::FlushName, target);
    return TRUE;
  });
}

BOOL WINAPI setEndOfFile(HANDLE file) {
  static const auto setEnd = exported<decltype(SetEndOfFile)>("kernel32.dll", "SetEndOfFile");
  return judged(HostCallKind::Cut, [&] {
    if (!setEnd(file)) return FALSE;
    LARGE_INTEGER size = {};
    GetFileSizeEx(file, &size);
    reportCall(HostCallKind::Cut, pathOf(file), static_cast<std::uint64_t>(size.QuadPart));
    return TRUE;
  });
}

int flushStream(std::FILE* stream) {
  static const auto flush = exported<decltype(std::fflush)>("msvcrt.dll", "fflush");
  if (!stream || stream == stdin || stream == stdout || stream == stderr) return flush(stream);
  const BOOL flushed = judged(HostCallKind::FlushStream, [&] {
    if (flush(stream) != 0) return FALSE;
    reportCall(HostCallKind::FlushStream, "");
    return TRUE;
  });
  return flushed ? 0 : EOF;
}

struct FaultLayer {
  FaultLayer() {
    redirectOurImports({{"vlOSCreateFile", createFile},
                        {"vlOSWriteFile", writeFile},
                        {"FlushFileBuffers", flushFile},
                        {"MoveFileExW", moveFile},
                        {"SetEndOfFile", setEndOfFile},
                        {"fflush", flushStream}});
  }
};
const FaultLayer kFaultLayer;

}  // namespace

void dieNow() {
  TerminateProcess(GetCurrentProcess(), 1);
  for (;;) Sleep(INFINITE);
}

}  // namespace fmp4
