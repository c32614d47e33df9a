// Threads whose work can wait, as Linux has them.
#include "os/background_thread.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <thread>

namespace fmp4 {

namespace {

TEST(BackgroundThread, AndThoseThatItStartsLeaveTheProcessorToOthers) {
  const int before = getpriority(PRIO_PROCESS, 0);
  int own = -1, started = -1;
  std::thread([&] {
    os::runInBackground();
    own = getpriority(PRIO_PROCESS, 0);
    std::thread([&started] { started = getpriority(PRIO_PROCESS, 0); }).join();
  }).join();
  EXPECT_EQ(own, std::max(before, 10));
  EXPECT_EQ(started, own);
  EXPECT_EQ(getpriority(PRIO_PROCESS, 0), before);
}

}  // namespace

}  // namespace fmp4
