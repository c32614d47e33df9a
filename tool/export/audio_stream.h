// Audio as an elementary stream: its access units as they are stored.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "mediafile.h"
#include "tool/export/export_streams.h"

namespace fmp4 {

// The codec that the extension of an output names, as the type of its sample entry: "mp4a" for .aac, "ac-3"
// for .ac3. Nothing for other extensions, which get PCM.
std::optional<std::uint32_t> streamCodecOf(const std::string& output);

// Writes the access units of the first audio track that play during the selected frames, all of the track
// when no frames are selected: AAC with an ADTS header each, AC-3 frames as stored. They are not decoded, so
// damaged ones are written as they are. Returns their duration in seconds. Throws UserError when the track is
// of another codec than `codec`, or ADTS cannot hold it.
double exportAudioStream(std::uint32_t codec, const QVRSYSTEM& system, const QVRAUDIO& audio,
                         const ExportRequest& request);

}  // namespace fmp4
