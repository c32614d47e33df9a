// When the samples of a track play: its edit list (ISO/IEC 14496-12, 8.6.6).
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "mp4box/boxes/elst.h"

class EditList {
 public:
  // No edits: the media play from their own time 0 on.
  EditList() = default;
  // `movieTimescale` and `timescale` are the ticks a second of the movie and of the track. `openEnd`: the
  // last edit lasts as long as the media, as in fragmented files, which do not know their length when they
  // begin.
  EditList(const mp4::EditListBox& box, std::uint32_t movieTimescale, std::uint32_t timescale, bool openEnd);

  bool empty() const { return edits_.empty(); }
  // More than one part of the media plays.
  bool severalParts() const { return edits_.size() > 1; }

  // When the media at `ticks` play, in seconds of the presentation. What lies outside of all edits is timed
  // by the one after it, or by the last.
  double present(std::int64_t ticks, std::uint32_t timescale) const;
  // Whether no edit plays anything of the media from `begin` up to `end`.
  bool hides(std::int64_t begin, std::int64_t end) const;
  // The media that play first and last, in ticks; all of them without edits.
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
  std::vector<Edit> edits_;  // without the empty ones
};
