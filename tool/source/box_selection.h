// Finds the boxes at a path in a file, reading no more of it than they take.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "mp4box/top_level_reader.h"
#include "tool/terminal/box_path.h"

namespace fmp4 {

// Of the other boxes at the top level of the file only the headers are read, up to the last one that the path
// may mean; of those that it passes through, everything, one at a time.
class BoxSelection {
 public:
  using Each = std::function<void(const Mp4Box& box)>;

  // `file`, of which nothing has been read, must outlive this. `each` is called for the boxes, in the order
  // of the file; they are freed afterwards.
  BoxSelection(Mp4TopLevelReader& file, std::vector<BoxStep> path, Each each)
      : file_(file), path_(std::move(path)), each_(std::move(each)) {}

  // Finds them. False when there are none.
  bool run();

  // Why there are none: "it has 3 boxes 'moof' at its top level, counted from 0". Empty when the box is
  // missing further down.
  std::string whyNone() const;

 private:
  void take(Mp4Stream& stream);
  void descend(const Mp4Box& box, std::span<const BoxStep> path);

  Mp4TopLevelReader& file_;
  std::vector<BoxStep> path_;
  Each each_;
  std::uint64_t met_ = 0;   // boxes of the first step's type
  std::uint64_t last_ = 0;  // offset of the last of them
  bool found_ = false;
};

}  // namespace fmp4
