#include "tool/source/standard_input.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include "base/user_error.h"

namespace fmp4 {

namespace {

std::atomic<bool> endSignalled = false;

HANDLE reader = nullptr;  // the reading thread
std::mutex readingMutex;
bool reading = false;

// While it exists, requests to end cancel the thread's wait. The destructor waits for a cancel in progress,
// which could otherwise hit the thread's next file access.
class Reading {
 public:
  Reading() { set(true); }
  ~Reading() { set(false); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  static void set(bool value) {
    const std::lock_guard lock(readingMutex);
    reading = value;
  }
};

// Returns whether there was a read to cancel.
bool cancelRead() {
  const std::lock_guard lock(readingMutex);
  if (reading) CancelSynchronousIo(reader);
  return reading;
}

// Runs in a thread of its own.
BOOL WINAPI noteEndSignal(DWORD event) {
  constexpr DWORD kPause = 10;  // milliseconds
  const bool first = !endSignalled.exchange(true);
  // A cancel before the read has begun has no effect.
  while (cancelRead()) Sleep(kPause);
  // The system ends the process when these return, and after some seconds in any case. The process ends by
  // itself before.
  if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
    Sleep(INFINITE);
  return first;
}

// Interprets a failed read: a pipe whose other end was closed has ended.
bool isEnd(DWORD error) {
  return error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF;
}

}  // namespace

void heedEndRequests() {
  if (!reader) {
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &reader, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
  }
  SetConsoleCtrlHandler(noteEndSignal, TRUE);
}

bool endRequested() {
  return endSignalled;
}

std::size_t readStandardInput(std::span<std::uint8_t> bytes) {
  constexpr std::size_t kMax = 1u << 20;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kMax));
  const Reading underWay;
  while (!endSignalled) {
    DWORD count = 0;
    if (ReadFile(input, bytes.data(), wanted, &count, nullptr)) {
      // A pipe also delivers writes of no bytes.
      if (count != 0 || GetFileType(input) != FILE_TYPE_PIPE) return count;
    } else if (isEnd(GetLastError())) {
      return 0;
    } else if (!endSignalled) {
      throw UserError("standard input cannot be read");
    }
  }
  return 0;
}

}  // namespace fmp4
