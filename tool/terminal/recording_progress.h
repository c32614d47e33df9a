// The progress of reading a recording's media files.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tool/terminal/progress.h"

namespace fmp4 {

// To be called with the bytes read so far and the total of all files.
class RecordingProgress {
 public:
  explicit RecordingProgress(std::string label) : label_(std::move(label)) {}
  void operator()(std::uint64_t done, std::uint64_t total) {
    if (!bar_) bar_ = std::make_shared<Progress>(label_, total);
    bar_->show(done);
  }

 private:
  std::string label_;
  std::shared_ptr<Progress> bar_;  // shared by all copies
};

}  // namespace fmp4
