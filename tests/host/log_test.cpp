#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

TEST(Log, LinesReachTheSinkUnchanged) {
  LogCapture log;
  ErrFmtOut(VL_LOG_ERROR, 0, 0, "ERROR(vlx_fmp4): %s\n", "Cannot open file");
  ErrFmtOut(VL_LOG_STATUS, 0, 0, "STATUS(vlx_Fmp4): %s\n", "ok");
  ErrOut("fmp4OpenWrite(0x%lX)", 0xE802500CUL);
  ErrOut("100%%");
  ErrMsgOut(0xE8022007u, "Open", 0, 0);
  ErrMsgOut(0x0000000Au, nullptr, 0, 0);
  EXPECT_EQ(log.lines, (std::vector<LogLine>{{0xC0000000u, "ERROR(vlx_fmp4): Cannot open file\n"},
                                             {0u, "STATUS(vlx_Fmp4): ok\n"},
                                             {VL_LOG_PLAIN, "fmp4OpenWrite(0xE802500C)"},
                                             {VL_LOG_PLAIN, "100%"},
                                             {VL_LOG_RESULT, "Open: 0xE8022007\n"},
                                             {VL_LOG_RESULT, ": 0x0000000A\n"}}));
}

TEST(Log, LinesOfAnyLengthArriveComplete) {
  LogCapture log;
  for (const std::size_t length : {1022u, 1023u, 1024u, 1025u, 200000u}) {
    const std::string text(length, 'x');
    ErrOut("%s", text.c_str());
    ASSERT_FALSE(log.lines.empty());
    EXPECT_EQ(log.lines.back().text, text);
  }
  EXPECT_EQ(log.lines.size(), 5u);
}

TEST(Log, GoesToStandardErrorWithoutASink) {
  { const LogCapture log; }
  testing::internal::CaptureStderr();
  ErrOut("plain %d\n", 7);
  ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlx_fmp4): %s\n", "text");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "plain 7\nWARNING(vlx_fmp4): text\n");
}

TEST(Log, ThreadsDeliverLinesOneAtATime) {
  LogCapture log;
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([number] {
      for (int i = 0; i < 250; ++i) ErrOut("%d:%d", number, i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(log.lines.size(), 1000u);
  std::vector<std::string> expected;
  std::vector<std::string> arrived;
  for (int number = 0; number < 4; ++number) {
    for (int i = 0; i < 250; ++i) expected.push_back(std::to_string(number) + ':' + std::to_string(i));
  }
  for (const LogLine& line : log.lines) arrived.push_back(line.text);
  std::sort(expected.begin(), expected.end());
  std::sort(arrived.begin(), arrived.end());
  EXPECT_EQ(arrived, expected);
}

}  // namespace

}  // namespace fmp4
