#include "tool/terminal/progress.h"

#include <iostream>
#include <utility>

#include "tool/terminal/console.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kBarWidth = 40;  // characters

}  // namespace

Progress::Progress(std::string label, std::uint64_t total, bool visible)
    : label_(std::move(label)), total_(total), visible_(visible && !hidden_ && total > 0 && isTerminal(2)) {}

Progress::~Progress() {
  if (visible_) std::cerr << '\r' << std::string(label_.size() + kBarWidth + 9, ' ') << '\r' << std::flush;
}

void Progress::show(std::uint64_t done) {
  if (!visible_) return;
  const auto percent =
      static_cast<std::uint64_t>(100.0 * static_cast<double>(done) / static_cast<double>(total_));
  if (percent == percent_) return;
  percent_ = percent;
  const std::uint64_t filled = percent * kBarWidth / 100;
  std::cerr << '\r' << label_ << " [" << std::string(filled, '#') << std::string(kBarWidth - filled, ' ')
            << "] " << percent << " %" << std::flush;
}

bool outputIsTerminal() {
  return isTerminal(1);
}

}  // namespace fmp4
