// The tracks of a file with what is known of each, whether the plug-in reads it or not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/host/channel_layout.h"
#include "tool/host/watched_files.h"

namespace fmp4 {

struct MediaTrack {
  std::string file;  // name of the file that holds it, without the folder
  std::uint32_t id = 0;
  std::uint32_t handler = 0;  // "vide", "soun", ...; 0 when the track has none
  std::uint32_t codec = 0;    // type of the sample entry; 0 when the track has none
  std::string codecName;      // "H.264"; empty without a codec
  std::string profile;        // these two are empty when unknown
  std::string level;
  std::string language;     // ISO 639-2; empty when undetermined
  std::uint32_t width = 0;  // video only, pixels
  std::uint32_t height = 0;
  ChannelLayout layout;  // audio only
  std::uint32_t sampleRate = 0;

  // Of all samples; nothing when the file is damaged.
  std::optional<std::uint64_t> samples;
  std::uint64_t bytes = 0;
  std::uint64_t durationTicks = 0;
  std::uint32_t timescale = 0;  // ticks a second

  bool read = false;
  std::string why;  // why it is not read or not decoded

  double seconds() const { return timescale ? static_cast<double>(durationTicks) / timescale : 0; }
  // Bits a second; nothing when the duration or the samples are unknown.
  std::optional<std::uint64_t> bitRate() const;
};

// The tracks of the files that the plug-in opens for `name`, in file order: those of the video's file, then
// those of a file with its audio. `files` has watched it open them, which saves reading them again.
std::vector<MediaTrack> mediaTracks(const std::string& name, WatchedFiles& files);

// "track 2: audio, AAC (mp4a), LC, stereo, 48000 Hz, 128 kbit/s, 00:00:10.010, eng".
std::string mediaTrackText(const MediaTrack& track);

}  // namespace fmp4
