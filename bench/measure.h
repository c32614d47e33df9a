// Times complete programs and parts of this process against each other in one run. The reported figure is the
// ratio of medians over alternating rounds, never a single time.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

struct Measured {
  double wallSeconds = 0;
  double cpuSeconds = 0;   // user and system
  double userSeconds = 0;  // 0 for parts of this process
  long peakKilobytes = 0;  // 0 for parts of this process
};

// Runs a program with its output discarded. Throws std::runtime_error if it fails.
inline Measured measureProgram(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
  }
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  const int failure = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  rusage usage{};
  if (failure != 0 || wait4(child, &status, 0, &usage) < 0 || !WIFEXITED(status) ||
      WEXITSTATUS(status) != 0) {
    throw std::runtime_error(command[0] + " failed");
  }
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
  };
  return {wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime), seconds(usage.ru_utime),
          usage.ru_maxrss};
}

// Times a part of this process.
template <class Work>
Measured measureWork(Work work) {
  const auto cpuSeconds = [] {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
  };
  const double cpuStart = cpuSeconds();
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  Measured measured;
  measured.wallSeconds = wall.count();
  measured.cpuSeconds = cpuSeconds() - cpuStart;
  return measured;
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// The median of one figure over several measurements.
inline double medianOf(const std::vector<Measured>& measured, double Measured::*figure) {
  std::vector<double> values;
  for (const Measured& m : measured) values.push_back(m.*figure);
  return median(values);
}

// Measures the two alternately, after one warm-up round that is not counted.
template <class First, class Second>
void alternate(int rounds, std::vector<Measured>& first, std::vector<Measured>& second, First runFirst,
               Second runSecond) {
  runFirst();
  runSecond();
  for (int i = 0; i < rounds; ++i) {
    first.push_back(runFirst());
    second.push_back(runSecond());
  }
}

// Prints a figure with its target and returns whether it is met.
inline bool report(const char* what, double value, const char* relation, double target) {
  const bool met = relation[0] == '<' ? value <= target : value >= target;
  std::printf("%-62s %10.2f   target %s %g   %s\n", what, value, relation, target, met ? "met" : "MISSED");
  return met;
}
