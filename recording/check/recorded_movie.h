// The initialisation part of a recorded media file: its tracks, as far as fragments and lists depend on them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/exact_time.h"
#include "mp4box/box.h"
#include "mp4box/movie.h"

namespace fmp4 {

struct RecordedTrack {
  std::uint32_t timescale = 0;              // ticks a second
  std::uint32_t defaultSampleDuration = 0;  // ticks
  std::uint32_t defaultSampleSize = 0;      // bytes
  std::uint32_t defaultSampleFlags = 0;
};

struct RecordedMovie {
  mp4::PerTrack<RecordedTrack> tracks;
  std::uint32_t width = 0;  // pixels
  std::uint32_t height = 0;
  std::vector<std::uint8_t> avcRecord;    // AVC decoder configuration record
  std::uint8_t audioObjectType = 0;       // objectTypeIndication
  std::vector<std::uint8_t> audioConfig;  // AudioSpecificConfig

  bool hasVideo() const { return tracks[mp4::TrackKind::Video].has_value(); }
  // The track that the segment indexes time.
  mp4::TrackKind indexedKind() const { return hasVideo() ? mp4::TrackKind::Video : mp4::TrackKind::Audio; }
  const RecordedTrack& indexedTrack() const { return *tracks[indexedKind()]; }
  // Of the video: its timescale is the numerator of the frame rate, the duration of a frame the denominator.
  FrameRate frameRate() const;
};

// What a "moov" box read from `stream` describes. Nothing when it is not the movie box of a recording;
// `reason` then says why. `complain` receives the problems of one that is.
std::optional<RecordedMovie> readRecordedMovie(Mp4Stream& stream, Mp4Box* moov, std::string& reason,
                                               const std::function<void(const std::string&)>& complain);

}  // namespace fmp4
