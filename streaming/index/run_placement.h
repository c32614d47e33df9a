// Where the runs of a movie fragment stand in the file (ISO/IEC 14496-12, 8.8.7 and 8.8.8).
#pragma once

#include <cstdint>
#include <vector>

#include "streaming/index/fragment_index.h"
#include "streaming/index/track_fragment.h"

// The file offset of the first byte of each of `fragment`'s runs, in their order. All ones for a run whose
// offset leads nowhere. `defaults` are those of `fragment`'s samples; the track fragments ahead of it are
// looked at only where its place depends on them.
std::vector<std::uint64_t> PlaceRuns(FragmentIndex& index, const FragmentEntry& entry,
                                     const TrackFragment& fragment, const SampleDefaults& defaults);
