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

namespace fmp4 {

struct Measured {
  double wallSeconds = 0;
  double cpuSeconds = 0;    // user and system
  double userSeconds = 0;   // 0 for parts of this process
  long peakKilobytes = 0;   // 0 for parts of this process
  double writtenBytes = 0;  // to files; 0 for parts of this process
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
          usage.ru_maxrss, static_cast<double>(usage.ru_oublock) * 512};
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

// A figure and by how much it varies from run to run; negative: that is not known.
struct Figure {
  double value = 0;
  double spread = -1;
};

// Half the interquartile range of values.
inline double spreadOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return (values[values.size() * 3 / 4] - values[values.size() / 4]) / 2;
}

// The median of one figure with its spread, times `unit`.
inline Figure figureOf(const std::vector<Measured>& measured, double Measured::*figure, double unit = 1) {
  std::vector<double> values;
  for (const Measured& m : measured) values.push_back(m.*figure * unit);
  return {median(values), spreadOf(values)};
}

// The ratio of the medians, with the spread of the rounds' ratios.
inline Figure ratioOf(const std::vector<Measured>& first, const std::vector<Measured>& second,
                      double Measured::*figure) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < first.size(); ++i) ratios.push_back(first[i].*figure / second[i].*figure);
  return {medianOf(first, figure) / medianOf(second, figure), spreadOf(ratios)};
}

// Prints a figure with its target and returns whether it is met.
inline bool report(const char* what, const Figure& figure, const char* relation, double target) {
  const bool met = relation[0] == '<' ? figure.value <= target : figure.value >= target;
  std::printf("%-62s %10.2f   spread ", what, figure.value);
  std::printf(figure.spread < 0 ? "-" : "%.3f", figure.spread);
  std::printf("   target %s %g   %s\n", relation, target, met ? "met" : "MISSED");
  return met;
}
inline bool report(const char* what, double value, const char* relation, double target) {
  return report(what, Figure{value}, relation, target);
}

}  // namespace fmp4
