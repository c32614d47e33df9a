// The texts that the plug-in reports, and how it reports them.
#pragma once

#include <cstdint>

#include "vlutil.h"

namespace messages {

// Probing and opening.
inline constexpr char kCannotOpenFile[] = "Cannot open file";
inline constexpr char kNoFileRoot[] = "Cannot find file root";
inline constexpr char kNotFragmented[] = "No moof, not a fragmented mp4";
inline constexpr char kNoManifest[] = "Couldn't open mpd";
inline constexpr char kNoFirstVideoChunk[] = "Unable to find correct video chunk";
inline constexpr char kNoFirst608Chunk[] = "Unable to find correct cc 608 chunk";
inline constexpr char kNoFirst708Chunk[] = "Unable to find correct cc 708 chunk";
inline constexpr char kNoFirstAudioChunk[] = "Unable to find correct audio chunk";
inline constexpr char kNoFrameRate[] = "No frame rate in the file, cannot address its frames";
inline constexpr char kNoTracks[] = "No track that can be read";
inline constexpr char kConfigurationTooLong[] = "The codec configuration is too long";

// Reading.
inline constexpr char kNoVideoChunkForFrame[] = "Unable to find correct video chunk for this frame";
inline constexpr char kNo708ChunkForFrame[] = "Unable to find correct cc 708 chunk for this frame";
inline constexpr char kBufferTooSmall[] = "The frame is larger than the buffer given for it";

// Operation names of status lines.
inline constexpr char kOpen[] = "Open";

inline void reportError(const char* text) {
  ErrFmtOut(VL_LOG_ERROR, 0, 0, "ERROR(vlx_fmp4): %s\n", text);
}
inline void reportRead(std::uint32_t status) {
  ErrOut("ReadFMP4(0x%lX)", static_cast<unsigned long>(status));
}

}  // namespace messages
