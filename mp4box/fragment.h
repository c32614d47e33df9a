// The boxes of a movie fragment, as records to initialise, fill and write.
#pragma once

#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trun.h"
#include "mp4box/movie.h"

namespace fmp4::mp4 {

struct TrackFragment {
  TrackFragmentHeaderBox tfhd;
  TrackFragmentDecodeTimeBox tfdt;
  TrackRunBox trun;
};

struct MovieFragment {
  MovieFragmentHeaderBox mfhd;
  PerTrack<TrackFragment> tracks;
};

}  // namespace fmp4::mp4
