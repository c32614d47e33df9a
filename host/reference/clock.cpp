#include <chrono>

#include "vlsync.h"

std::uint64_t vsyncGetCurMs() {
  using namespace std::chrono;
  return static_cast<std::uint64_t>(
      duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}
