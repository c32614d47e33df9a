// The positions of a movie fragment's runs in the file (ISO/IEC 14496-12, 8.8.7 and 8.8.8).
#pragma once

#include <cstdint>
#include <vector>

#include "streaming/index/fragment_index.h"
#include "streaming/index/track_fragment.h"

namespace fmp4 {

// The file offset of the first byte of each run of `fragment`, a part of `loaded`, in order; all ones for a
// run with an invalid offset. `defaults` apply to the samples of `fragment`. The preceding track fragments
// are examined only if its position depends on them.
std::vector<std::uint64_t> placeRuns(FragmentIndex& index, const LoadedFragment& loaded,
                                     const TrackFragment& fragment, const SampleDefaults& defaults);

}  // namespace fmp4
