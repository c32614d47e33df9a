// The small services: locks, time, memory.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <regex>
#include <string>
#include <thread>

#include "vlsync.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

// Locks that nothing destroys: they live as long as the program.
VLCRITICALSECTION recursive, shared;

TEST(Lock, IsRecursiveAndKeepsOtherThreadsOut) {
  vlOSInitializeCriticalSection(&recursive);
  std::atomic<bool> isLeft = false;
  vlOSEnterCriticalSection(&recursive);
  vlOSEnterCriticalSection(&recursive);
  std::thread other([&] {
    vlOSEnterCriticalSection(&recursive);
    EXPECT_TRUE(isLeft);
    vlOSLeaveCriticalSection(&recursive);
  });
  vlOSLeaveCriticalSection(&recursive);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  isLeft = true;
  vlOSLeaveCriticalSection(&recursive);
  other.join();
}

TEST(Lock, SerialisesThreads) {
  vlOSInitializeCriticalSection(&shared);
  int count = 0;
  const auto add = [&] {
    for (int i = 0; i < 10000; ++i) {
      vlOSEnterCriticalSection(&shared);
      ++count;
      vlOSLeaveCriticalSection(&shared);
    }
  };
  std::thread other(add);
  add();
  other.join();
  EXPECT_EQ(count, 20000);
}

TEST(Lock, UninitialisedOneLocksNothing) {
  VLCRITICALSECTION section;
  vlOSEnterCriticalSection(&section);
  vlOSLeaveCriticalSection(&section);
  EXPECT_EQ(section.opaque, nullptr);
  vlOSEnterCriticalSection(nullptr);
  vlOSLeaveCriticalSection(nullptr);
}

TEST(DateTime, TwoTextsFormOneUtcDateTime) {
  using namespace std::chrono;
  char date[64];
  char time[64];
  const auto before = floor<milliseconds>(system_clock::now());
  vlOSGetDateTimeString(date, sizeof date, time, sizeof time);
  const auto after = system_clock::now();

  const std::string text = std::string(date) + time;
  std::smatch match;
  ASSERT_TRUE(
      std::regex_match(text, match, std::regex(R"((\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)\.(\d{3})Z)")))
      << text;
  const auto number = [&](std::size_t i) { return std::stoi(match[i]); };
  const year_month_day day(year(number(1)), month(static_cast<unsigned>(number(2))),
                           std::chrono::day(static_cast<unsigned>(number(3))));
  const auto signalled =
      sys_days(day) + hours(number(4)) + minutes(number(5)) + seconds(number(6)) + milliseconds(number(7));
  EXPECT_GE(signalled, before);
  EXPECT_LE(signalled, after);
  EXPECT_EQ(std::string(date).size(), 10u);
  EXPECT_EQ(std::string(time).size(), 14u);
}

TEST(DateTime, TextThatDoesNotFitIsLeftEmpty) {
  char date[11] = "x";
  char time[14] = "x";
  vlOSGetDateTimeString(date, sizeof date, time, sizeof time);
  EXPECT_EQ(std::string(date).size(), 10u);
  EXPECT_STREQ(time, "");
  vlOSGetDateTimeString(date, 10, time, 0);
  EXPECT_STREQ(date, "");
  vlOSGetDateTimeString(nullptr, 10, nullptr, 0);
}

TEST(Clock, CountsMillisecondsAndNeverGoesBack) {
  using namespace std::chrono;
  const auto start = steady_clock::now();
  const std::uint64_t first = vsyncGetCurMs();
  std::this_thread::sleep_for(milliseconds(20));
  const std::uint64_t second = vsyncGetCurMs();
  const auto most = ceil<milliseconds>(steady_clock::now() - start).count() + 1;
  EXPECT_GE(second - first, 20u - 1);
  EXPECT_LE(second - first, static_cast<std::uint64_t>(most));
}

TEST(Memory, CopiesAndClears) {
  char text[] = "abcdefgh";
  vlOSCopyMemory(text + 2, text, 4);
  EXPECT_STREQ(text, "ababcdgh");
  CopyMemoryFast(text, "XYZ", 3);
  EXPECT_STREQ(text, "XYZbcdgh");
  ZeroMemoryFast(text + 3, 5);
  EXPECT_EQ(std::string(text, 8), std::string("XYZ\0\0\0\0\0", 8));
  vlOSCopyMemory(nullptr, nullptr, 0);
  CopyMemoryFast(nullptr, nullptr, 0);
  ZeroMemoryFast(nullptr, 0);
}

}  // namespace

}  // namespace fmp4
