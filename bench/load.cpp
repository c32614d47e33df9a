// What starting costs: loading the plug-in, in a host that already has its own libraries, and the program's
// shortest command, beside a program that does nothing.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <stdexcept>

#include "bench/measure.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

constexpr int kRounds = 200;
constexpr double kMilliseconds = 1000;

double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Loads a library in a copy of this process, which is loaded once only.
Measured load(const char* library) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    const double start = processorSeconds();
    const bool loaded = dlopen(library, RTLD_NOW) != nullptr;
    const double seconds = loaded ? processorSeconds() - start : -1;
    _exit(write(ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  close(ends[1]);
  Measured measured;
  const bool received = read(ends[0], &measured.cpuSeconds, sizeof measured.cpuSeconds) > 0;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!received || measured.cpuSeconds < 0) throw std::runtime_error(std::string(library) + " does not load");
  return measured;
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  std::vector<Measured> plugin, plain, version, nothing;
  alternate(
      kRounds, plugin, plain, [] { return load(VL_BIN_DIR "/vlx_fmp4.so"); },
      [] { return load("libtinyxml2.so.9"); });
  alternate(
      kRounds, version, nothing,
      [] {
        return measureProgram({VL_BIN_DIR "/fmp4", "version"});
      },
      [] { return measureProgram({"/bin/true"}); });
  std::printf("TinyXML-2 alone, which the plug-in loads too: %.2f ms; a program that does nothing: %.2f ms\n",
              medianOf(plain, &Measured::cpuSeconds) * kMilliseconds,
              medianOf(nothing, &Measured::cpuSeconds) * kMilliseconds);
  const bool loaded = report("loading the plug-in: milliseconds of processor time",
                             figureOf(plugin, &Measured::cpuSeconds, kMilliseconds), "<=", 1);
  const bool started = report("fmp4 version: milliseconds of processor time",
                              figureOf(version, &Measured::cpuSeconds, kMilliseconds), "<=", 2.5);
  return loaded && started ? 0 : 1;
}
