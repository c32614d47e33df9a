// Positioning a track cursor by frame or time, and the nearest key frames.
#pragma once

#include <cstdint>

#include "streaming/index/track_cursor.h"

// Each positions a cursor at the sample that holds the target, with a data window when `loadData` is set.
// Returns 0, or -1 after reporting why. A target behind the track's end fails.

// The sample of a video frame.
int SeekVideoFrame(FragmentIndex& index, std::uint64_t frame, bool loadData, TrackCursor& cursor);
// The sample that plays at `time`, in the audio track's ticks; cursor.position receives its start.
int SeekAudioTime(FragmentIndex& index, std::uint64_t time, bool loadData, TrackCursor& cursor);
// The CEA-608 sample during which a video frame plays; cursor.position receives its first frame.
int SeekCc608Sample(FragmentIndex& index, std::uint64_t frame, bool loadData, TrackCursor& cursor);
// The CEA-708 sample of a video frame; there is one a frame.
int SeekCc708Frame(FragmentIndex& index, std::uint64_t frame, bool loadData, TrackCursor& cursor);

// What a search for a key frame answers when loading a fragment failed.
inline constexpr std::uint32_t kNoKeyFrame = 0xFFFFFFFFu;

// The host's key-frame mark for a sample's flags: 0x10000000 for a key frame, 0x80000000 for another.
std::uint32_t SampleKeyFlag(std::uint32_t flags);

// The key frame at or before `frame`; 0 when there is none back to the first frame. Frees the cursor's
// window, so that the next read seeks anew.
std::uint32_t FindKeyFrameBackward(FragmentIndex& index, std::uint32_t frame, TrackCursor& cursor);
// The key frame at or after `frame`; kNoKeyFrame when none follows. Frees the window likewise.
std::uint32_t FindKeyFrameForward(FragmentIndex& index, std::uint32_t frame, TrackCursor& cursor);
