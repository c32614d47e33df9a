// Converts the codec configurations in the host's descriptions to the form stored in recordings.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "qvr.h"

namespace fmp4 {

// The AVC decoder configuration record of a video description: the payload of its "avcC" box; empty if there
// is no such box. Returns nullopt if the box or the record is shorter than it states.
std::optional<std::vector<std::uint8_t>> avcRecordOf(const QVRVIDEO& video);

// The AudioSpecificConfig of an audio description: derived from an ADTS header, or the codec data itself if
// it is shorter than 5 bytes; empty for other codec data. Returns nullopt if the data is shorter than it
// states.
std::optional<std::vector<std::uint8_t>> audioConfigOf(const QVRAUDIO& audio);

// PCM frames per access unit: 1536 for AC-3, otherwise 1024.
std::uint32_t samplesPerFrameOf(const QVRAUDIO& audio);

}  // namespace fmp4
