// Seeks a track cursor by frame or time, and finds the nearest key frames.
#pragma once

#include <cstdint>
#include <optional>

#include "streaming/index/track_cursor.h"

namespace fmp4 {

// Each seeks a cursor to the sample that contains the target, with a data window. A failure has been
// reported. A target past the end of the track fails.

// The sample of video frame `frame`.
[[nodiscard]] Result SeekVideoFrame(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor);
// The sample at `time`, in ticks of the audio track; cursor.position receives its start.
[[nodiscard]] Result SeekAudioTime(FragmentIndex& index, std::uint64_t time, TrackCursor& cursor);
// The CEA-608 sample at a video frame; cursor.position receives its first frame.
[[nodiscard]] Result seekCc608Sample(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor);
// The CEA-708 sample of a video frame; there is one per frame.
[[nodiscard]] Result SeekCc708Frame(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor);

// As SeekVideoFrame, for looking at the sample without reading it: frees the cursor's window.
[[nodiscard]] Result locateVideoFrame(FragmentIndex& index, std::uint64_t frame, TrackCursor& cursor);

// The host's key frame flag for the flags of a sample: 0x10000000 for a key frame, otherwise 0x80000000.
std::uint32_t SampleKeyFlag(std::uint32_t flags);

// The key frame at or before `frame`; 0 if there is none. Nothing after a failure, which has been reported.
// Frees the cursor's window, so that the next read seeks again.
[[nodiscard]] std::optional<std::uint32_t> FindKeyFrameBackward(FragmentIndex& index, std::uint32_t frame,
                                                                TrackCursor& cursor);
// The key frame at or after `frame`; nothing if there is none. Frees the cursor's window too.
[[nodiscard]] std::optional<std::uint32_t> FindKeyFrameForward(FragmentIndex& index, std::uint32_t frame,
                                                               TrackCursor& cursor);

}  // namespace fmp4
