// The codec configurations that a host hands over with its descriptions, as recordings store them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "qvr.h"

// The AVC decoder configuration record of a video description: the payload of its "avcC" box, empty when the
// description carries no such box. Nothing when box or record are shorter than they say.
std::optional<std::vector<std::uint8_t>> AvcRecordOf(const QVRVIDEO& video);

// The AudioSpecificConfig of an audio description: made from an ADTS header, or the codec data itself when
// shorter than 5 bytes; empty for other codec data. Nothing when the data is shorter than it says.
std::optional<std::vector<std::uint8_t>> AudioConfigOf(const QVRAUDIO& audio);

// Samples of one coded frame: 1536 for AC-3, else 1024.
std::uint32_t SamplesPerFrameOf(const QVRAUDIO& audio);
