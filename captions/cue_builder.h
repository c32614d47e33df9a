// Captions with the frames in which they are displayed.
#pragma once

#include <cstdint>
#include <vector>

#include "captions/caption.h"

namespace fmp4::captions {

// Displayed from frame `first` up to frame `end`, which is not included.
struct Cue {
  std::int64_t first = 0;
  std::int64_t end = 0;
  Caption caption;
  bool operator==(const Cue&) const = default;
};

// Turns screens that change into cues. Text that is typed on the screen, a few characters a frame, is one cue
// with all of it from the first character on; a pause in the typing begins a new cue.
class CueBuilder {
 public:
  // The screen from `frame` on; frames must not descend.
  void show(std::int64_t frame, const Caption& caption);
  // Ends the last cue before frame `end`, and returns all cues in ascending order.
  std::vector<Cue> finish(std::int64_t end);

  bool empty() const { return cues_.empty(); }

 private:
  std::vector<Cue> cues_;
  bool open_ = false;  // the last cue is on the screen
  std::int64_t lastChange_ = 0;
};

}  // namespace fmp4::captions
