// What is wrong with a recording.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fmp4 {

struct Problem {
  std::string file;                     // name and extension
  std::optional<std::uint64_t> offset;  // in the file, of the first byte concerned
  std::string text;
  bool repairable = false;
};

// Problems in the order in which they were found. Those beyond what anybody would read are only counted.
class ProblemList {
 public:
  static constexpr std::size_t kMaxKept = 100;

  void add(Problem problem) {
    ++count_;
    repairable_ = repairable_ && problem.repairable;
    if (kept_.size() < kMaxKept) kept_.push_back(std::move(problem));
  }
  // None of them can be repaired after all.
  void setUnrepairable() {
    repairable_ = count_ == 0;
    for (Problem& problem : kept_) problem.repairable = false;
  }
  std::uint64_t count() const { return count_; }
  const std::vector<Problem>& kept() const { return kept_; }
  // Whether all can be repaired.
  bool repairable() const { return repairable_; }

 private:
  std::vector<Problem> kept_;
  std::uint64_t count_ = 0;
  bool repairable_ = true;
};

}  // namespace fmp4
