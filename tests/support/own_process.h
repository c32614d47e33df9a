// Parts of a test that run in separate processes, whose loaded libraries are gone when they end.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "os/path_name.h"
#include "tests/support/environment.h"
#include "tests/support/run.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace fmp4 {

// The file of this program.
inline std::filesystem::path thisProgram() {
#if defined(_WIN32)
  std::wstring program(32768, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
  return program;
#else
  return std::filesystem::read_symlink("/proc/self/exe");
#endif
}

// How many parts the running test has started so far, not counting this one.
inline int partsBefore() {
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  static const testing::TestInfo* counted = nullptr;
  static int part = 0;
  part = test == counted ? part + 1 : 0;
  counted = test;
  return part;
}

// Starts `program`, a copy of this one, for the running test alone, where it runs only this part. The
// failures of `body` are the test's. Returns the part's standard error.
template <class Body>
std::string inProcessOf(const std::filesystem::path& program, Body body) {
  constexpr char kVariable[] = "VL_OWN_PROCESS_PART";
  constexpr int kPassed = 77;  // not 0, the exit code of a program that never reached this part
  const std::string part = std::to_string(partsBefore());
  if (const char* const asked = std::getenv(kVariable)) {
    if (part != asked) return {};
    body();
    std::exit(testing::Test::HasFailure() ? 1 : kPassed);
  }
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  const Environment environment(kVariable, part.c_str());
  const RunResult result =
      run({vlName(program), std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name()});
  EXPECT_EQ(result.exitCode, kPassed) << "in the separate process:\n" << result.out << result.err;
  return result.err;
}

// The same in this program itself.
template <class Body>
void inOwnProcess(Body body) {
  inProcessOf(thisProgram(), body);
}

}  // namespace fmp4
