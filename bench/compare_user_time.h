// User times of two programs that decode the same stream, with what each takes to start: the same for a
// stream of a few frames, in the same run.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "bench/measure.h"

namespace fmp4 {

using Command = std::vector<std::string>;

struct UserTimes {
  double ours, theirs;  // seconds
  double oursToStart, theirsToStart;

  [[nodiscard]] double ratio() const { return theirs / ours; }
  [[nodiscard]] double netRatio() const { return (theirs - theirsToStart) / (ours - oursToStart); }
};

// Medians of runs that take turns. `ours` and `theirs` make a command for a stream.
template <class Ours, class Theirs>
UserTimes measureUserTimes(const std::string& stream, const std::string& shortStream, Ours ours,
                           Theirs theirs) {
  const auto medians = [&](const std::string& file, double& our, double& their) {
    std::vector<Measured> first, second;
    alternate(
        5, first, second, [&] { return measureProgram(ours(file)); },
        [&] { return measureProgram(theirs(file)); });
    our = medianOf(first, &Measured::userSeconds);
    their = medianOf(second, &Measured::userSeconds);
  };
  UserTimes times{};
  medians(stream, times.ours, times.theirs);
  medians(shortStream, times.oursToStart, times.theirsToStart);
  return times;
}

// Reports both ratios, with the same target.
inline bool reportUserTimes(const std::string& what, const UserTimes& times, double target) {
  std::printf("%s: %.3f s over %.3f s, to start %.3f s and %.3f s (user, medians of 5)\n", what.c_str(),
              times.theirs, times.ours, times.theirsToStart, times.oursToStart);
  const bool met = report(what.c_str(), times.ratio(), ">=", target);
  return report((what + ", start-up taken off").c_str(), times.netRatio(), ">=", target) && met;
}

}  // namespace fmp4
