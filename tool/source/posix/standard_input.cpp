#include "tool/source/standard_input.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include "base/user_error.h"

namespace fmp4 {

namespace {

std::atomic<bool> endSignalled = false;
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

// A byte in this pipe wakes the thread that waits for input: otherwise a signal between the check of
// `endSignalled` and the wait would be missed.
std::array<int, 2> wakeUp = {-1, -1};

void noteEndSignal(int) {
  const int error = errno;
  endSignalled = true;
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
  errno = error;
}

}  // namespace

void heedEndRequests() {
  if (wakeUp[0] < 0 && pipe2(wakeUp.data(), O_CLOEXEC | O_NONBLOCK) != 0)
    throw UserError("no pipe can be made: too many files are open");
  struct sigaction action = {};
  action.sa_handler = noteEndSignal;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool endRequested() {
  return endSignalled;
}

std::size_t readStandardInput(std::span<std::uint8_t> bytes) {
  std::array<pollfd, 2> waited = {{{STDIN_FILENO, POLLIN, 0}, {wakeUp[0], POLLIN, 0}}};
  while (!endSignalled) {
    if (poll(waited.data(), waited.size(), -1) < 0) {
      if (errno == EINTR) continue;
      throw UserError("standard input cannot be waited for");
    }
    if (waited[0].revents == 0) continue;
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR && errno != EAGAIN) throw UserError("standard input cannot be read");
  }
  return 0;
}

}  // namespace fmp4
