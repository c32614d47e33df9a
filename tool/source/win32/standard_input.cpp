#include "tool/source/standard_input.h"

#include <windows.h>

#include <algorithm>
#include <atomic>

#include "base/user_error.h"

namespace {

std::atomic<bool> endAsked = false;
HANDLE reader = nullptr;  // the thread that reads

// Runs in a thread of its own.
BOOL WINAPI askForEnd(DWORD event) {
  if ((event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) || endAsked.exchange(true)) return FALSE;
  CancelSynchronousIo(reader);
  return TRUE;
}

}  // namespace

void heedEndRequests() {
  if (!reader) {
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &reader, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
  }
  SetConsoleCtrlHandler(askForEnd, TRUE);
}

bool endRequested() {
  return endAsked;
}

std::size_t readStandardInput(std::span<std::uint8_t> bytes) {
  constexpr std::size_t kMost = 1u << 20;
  if (endAsked) return 0;
  DWORD count = 0;
  const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kMost));
  if (ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes.data(), wanted, &count, nullptr)) return count;
  // A pipe whose other end was closed has ended.
  if (endAsked || GetLastError() == ERROR_BROKEN_PIPE) return 0;
  throw UserError("standard input cannot be read");
}
