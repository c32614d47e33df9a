// Gaps in audio, where the plug-in delivers silence.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace fmp4 {

// Calls found(from, to) with each gap of the first audio track of a media file, in PCM frames from its first
// access unit on, in ascending order: where access units are stated to last longer than they do. Reads the
// file's fragments, no media data. `sampleRate`: of the decoded audio, Hz. Ends early when `stopped`.
void forEachAudioGap(const std::string& media, std::uint32_t sampleRate, const std::function<bool()>& stopped,
                     const std::function<void(std::uint64_t from, std::uint64_t to)>& found);

}  // namespace fmp4
