// Boxes as a new file starts with: every default value that the format or this system chooses.
#pragma once

#include "mp4box/boxes/ftyp.h"
#include "mp4box/fragment.h"
#include "mp4box/movie.h"

namespace fmp4 {

// Rows of video of this height, which is negative when they are stored bottom-up.
constexpr std::uint32_t rowsOf(std::int32_t height) {
  return height < 0 ? 0u - static_cast<std::uint32_t>(height) : static_cast<std::uint32_t>(height);
}

// "iso5", version 8191, compatible with "iso5", "dash" and "msix".
mp4::FileTypeBox Mp4SetUpFileType();

// Timescale 90000, duration 0, rate and volume 1.0.
mp4::MovieHeaderBox Mp4SetUpMovieHeader();

// The tracks, without samples, durations 0. `width` and `height` are pixels; a negative height means that
// rows are stored bottom-up. `videoRate` is the numerator of the frame rate: up to 1000 it is in frames a
// second, and the timescale of the track is 1000 times as much; above that it is the timescale itself.
mp4::Track Mp4SetUpVideoTrack(std::uint32_t trackId, std::uint32_t videoRate, std::uint32_t width,
                              std::int32_t height);
mp4::Track Mp4SetUpAudioTrack(std::uint32_t trackId, std::uint32_t sampleRate);
mp4::Track Mp4SetUp608Track(std::uint32_t trackId, std::uint32_t videoRate);
mp4::Track Mp4SetUp708Track(std::uint32_t trackId, std::uint32_t videoRate);

// The defaults of the fragments of `tracks`. `videoScale` is the denominator of the frame rate. With
// `withHeader` there is a "mehd", of duration 0.
mp4::MovieExtends Mp4SetUpMovieExtends(mp4::TrackSet tracks, std::uint32_t videoScale, bool withHeader);

// A fragment of `tracks`, without samples, decode times 0.
mp4::MovieFragment Mp4SetUpFragment(std::uint32_t sequenceNumber, mp4::TrackSet tracks);

}  // namespace fmp4
