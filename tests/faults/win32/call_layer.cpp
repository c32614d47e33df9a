// Windows binds names to libraries: the layer takes the place of what the modules under test have imported.
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/faults/call_plan.h"
#include "tests/support/win32/import_table.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

// Whether the call fails, as a disk that cannot be read does.
bool failsHere(CallKind kind) {
  if (!callFails(kind)) return false;
  SetLastError(ERROR_IO_DEVICE);
  return true;
}

// ---- The host's calls -----------------------------------------------------------------------------------

VLHANDLE createFile(const char* path, std::uint32_t access, std::uint32_t share, void* security,
                    std::uint32_t disposition, std::uint32_t attributes, VLHANDLE templateFile) {
  static const auto create = exported<decltype(vlOSCreateFile)>("vlhost.dll", "vlOSCreateFile");
  if (failsHere(CallKind::Open)) return VL_INVALID_HANDLE;
  return create(path, access, share, security, disposition, attributes, templateFile);
}

std::int32_t readFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto readOn = exported<decltype(vlOSReadFile)>("vlhost.dll", "vlOSReadFile");
  if (!failsHere(CallKind::Read)) return readOn(file, buffer, count, done);
  if (done) *done = 0;
  return 0;
}

std::int32_t writeFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  static const auto writeOn = exported<decltype(vlOSWriteFile)>("vlhost.dll", "vlOSWriteFile");
  if (!failsHere(CallKind::Write)) return writeOn(file, buffer, count, done);
  if (done) *done = 0;
  return 0;
}

std::int64_t seek(VLHANDLE file, std::int64_t offset, std::uint32_t origin) {
  static const auto seekTo = exported<decltype(vlOSSeek)>("vlhost.dll", "vlOSSeek");
  return failsHere(CallKind::Seek) ? -1 : seekTo(file, offset, origin);
}

std::uint32_t fileSize(VLHANDLE file, std::uint32_t* high) {
  static const auto size = exported<decltype(vlOSGetFileSize)>("vlhost.dll", "vlOSGetFileSize");
  if (!failsHere(CallKind::Size)) return size(file, high);
  if (high) *high = 0xFFFFFFFF;
  return 0xFFFFFFFF;
}

void* loadLibrary(const char* name, std::uint32_t mode) {
  static const auto load = exported<decltype(vlOSLoadLibrary)>("vlhost.dll", "vlOSLoadLibrary");
  return failsHere(CallKind::Library) ? nullptr : load(name, mode);
}

// ---- The system's ---------------------------------------------------------------------------------------

BOOL WINAPI writeSystemFile(HANDLE file, const void* buffer, DWORD count, DWORD* done, OVERLAPPED* place) {
  static const auto writeOn = exported<decltype(WriteFile)>("kernel32.dll", "WriteFile");
  return !failsHere(CallKind::Write) && writeOn(file, buffer, count, done, place);
}

BOOL WINAPI flushFile(HANDLE /*file*/) {
  return !failsHere(CallKind::Flush);
}

BOOL WINAPI moveFile(const wchar_t* from, const wchar_t* to, DWORD flags) {
  static const auto move = exported<decltype(MoveFileExW)>("kernel32.dll", "MoveFileExW");
  return !failsHere(CallKind::Replace) && move(from, to, flags & ~DWORD{MOVEFILE_WRITE_THROUGH});
}

BOOL WINAPI setEndOfFile(HANDLE file) {
  static const auto setEnd = exported<decltype(SetEndOfFile)>("kernel32.dll", "SetEndOfFile");
  return !failsHere(CallKind::Cut) && setEnd(file);
}

void WINAPI systemTime(FILETIME* time) {
  GetSystemTimeAsFileTime(time);
  if (!failsHere(CallKind::Clock)) return;
  constexpr std::uint64_t kDay = 24ull * 3600 * 10'000'000;  // in units of 100 ns
  const std::uint64_t earlier = (std::uint64_t{time->dwHighDateTime} << 32 | time->dwLowDateTime) - kDay;
  *time = {static_cast<DWORD>(earlier), static_cast<DWORD>(earlier >> 32)};
}

// ---- The C library's ------------------------------------------------------------------------------------

int readDescriptor(int file, void* buffer, unsigned count) {
  static const auto readOn = exported<decltype(_read)>("msvcrt.dll", "_read");
  return failsHere(CallKind::Read) ? -1 : readOn(file, buffer, count);
}

int writeDescriptor(int file, const void* buffer, unsigned count) {
  static const auto writeOn = exported<decltype(_write)>("msvcrt.dll", "_write");
  return failsHere(CallKind::Write) ? -1 : writeOn(file, buffer, count);
}

// What `operator new` of the plug-in, which has its own copy, is made of.
void* allocate(std::size_t bytes) {
  return allocationFails(bytes) ? nullptr : std::malloc(bytes);
}

int flushStream(std::FILE* stream) {
  static const auto flush = exported<decltype(std::fflush)>("msvcrt.dll", "fflush");
  const bool ofFile = stream && stream != stdin && stream != stdout && stream != stderr;
  return ofFile && failsHere(CallKind::Stream) ? EOF : flush(stream);
}

// -----------------------------------------------------------------------------------------------------------

// Lets a function begin with a jump to another.
void replaceCode(void* function, void* replacement) {
  unsigned char code[] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0,  // mov rax, replacement
                          0xFF, 0xE0};                         // jmp rax
  std::memcpy(code + 2, &replacement, sizeof replacement);
  DWORD protection = 0;
  VirtualProtect(function, sizeof code, PAGE_EXECUTE_READWRITE, &protection);
  std::memcpy(function, code, sizeof code);
  VirtualProtect(function, sizeof code, protection, &protection);
  FlushInstructionCache(GetCurrentProcess(), function, sizeof code);
}

struct CallLayer {
  CallLayer() {
    redirectOurImports({{"vlOSCreateFile", createFile},
                        {"vlOSReadFile", readFile},
                        {"vlOSWriteFile", writeFile},
                        {"vlOSSeek", seek},
                        {"vlOSGetFileSize", fileSize},
                        {"vlOSLoadLibrary", loadLibrary},
                        {"WriteFile", writeSystemFile},
                        {"FlushFileBuffers", flushFile},
                        {"MoveFileExW", moveFile},
                        {"SetEndOfFile", setEndOfFile},
                        {"_read", readDescriptor},
                        {"_write", writeDescriptor},
                        {"fflush", flushStream}});
    redirectImport(GetModuleHandleA("vlx_fmp4.dll"), "malloc", reinterpret_cast<void*>(allocate));
    // The thread library has asked for it by name, when it was loaded.
    const auto clock = GetProcAddress(GetModuleHandleA("kernel32.dll"), "GetSystemTimePreciseAsFileTime");
    replaceCode(reinterpret_cast<void*>(clock), reinterpret_cast<void*>(systemTime));
  }
};
const CallLayer kCallLayer;

}  // namespace

}  // namespace fmp4
