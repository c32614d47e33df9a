// Parts of a test that run in a process of their own, with whose end what they loaded is gone.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#if defined(_WIN32)
#include <windows.h>

#include "support/environment.h"
#include "support/run.h"
#include "vlpath.h"

// The program is started anew for the running test alone, and runs but this part of it there: Windows copies
// no processes. The failures of `body` are the test's.
template <class Body>
void inOwnProcess(Body body) {
  constexpr char kVariable[] = "VL_OWN_PROCESS_PART";
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  static const testing::TestInfo* counted = nullptr;
  static int part = 0;
  part = test == counted ? part + 1 : 0;
  counted = test;
  if (const char* const asked = std::getenv(kVariable)) {
    if (std::to_string(part) != asked) return;
    body();
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  std::wstring program(32768, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
  const Environment environment(kVariable, std::to_string(part).c_str());
  const RunResult result =
      run({vlName(program), std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name()});
  EXPECT_EQ(result.exitCode, 0) << "in the process of its own:\n" << result.out;
}
#else
#include <sys/wait.h>
#include <unistd.h>

// The failures of `body` are the test's.
template <class Body>
void inOwnProcess(Body body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    body();
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << "in the process of its own";
}
#endif
