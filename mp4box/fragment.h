// The boxes of a movie fragment, as records to be set up, filled and written.
#pragma once

#include "boxes/mfhd.h"
#include "boxes/tfdt.h"
#include "boxes/tfhd.h"
#include "boxes/trun.h"
#include "movie.h"

namespace mp4 {

struct TrackFragment {
  TrackFragmentHeaderBox tfhd;
  TrackFragmentDecodeTimeBox tfdt;
  TrackRunBox trun;
};

struct MovieFragment {
  MovieFragmentHeaderBox mfhd;
  PerTrack<TrackFragment> tracks;
};

}  // namespace mp4
