// When the samples of a track play: its edit list (ISO/IEC 14496-12, 8.6.6).
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "mp4box/boxes/elst.h"

namespace fmp4 {

class EditList {
 public:
  // No edits: the media play from their time 0 on.
  EditList() = default;
  // `movieTimescale` and `timescale` are the ticks a second of the movie and of the track. `openEnd`: the
  // last edit lasts as long as the media, as in fragmented files, whose duration is unknown when they are
  // begun.
  EditList(const mp4::EditListBox& box, std::uint32_t movieTimescale, std::uint32_t timescale, bool openEnd);

  bool empty() const { return edits_.empty(); }
  // Whether more than one part of the media plays.
  bool severalParts() const { return edits_.size() > 1; }

  // When the media at `ticks` play, in seconds of the presentation. Media outside all edits are timed by the
  // next edit, or by the last.
  double present(std::int64_t ticks, std::uint32_t timescale) const;
  // Whether no edit plays any of the media from `begin` up to `end`.
  bool hides(std::int64_t begin, std::int64_t end) const;
  // The first and last media that play, in ticks; all media without edits.
  std::int64_t firstShown() const { return empty() ? kBegin : edits_.front().mediaBegin; }
  std::int64_t shownEnd() const { return empty() ? kEnd : edits_.back().mediaEnd; }

 private:
  static constexpr std::int64_t kBegin = std::numeric_limits<std::int64_t>::min();
  static constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();

  struct Edit {
    double start = 0;  // seconds of the presentation
    std::int64_t mediaBegin = 0;
    std::int64_t mediaEnd = 0;
  };
  std::vector<Edit> edits_;  // without empty edits
};

}  // namespace fmp4
