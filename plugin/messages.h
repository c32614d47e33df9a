// The message texts of the plug-in, and how they are reported.
#pragma once

#include <cstdint>

#include "recording/messages.h"
#include "vlutil.h"

namespace fmp4::messages {

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
inline constexpr char kNotReadToItsEnd[] = "The file could not be read to its end";
inline constexpr char kNoMemoryToOpen[] = "Not enough memory to open the file";

// Reading.
inline constexpr char kNoVideoChunkForFrame[] = "Unable to find correct video chunk for this frame";
// Intended (quirk 11): misspelt, and known to hosts so.
inline constexpr char kNoAudioChunkForFrame[] = "Unable to find correct audio chunck for this frame";
inline constexpr char kNoAudioChunkForSeek[] = "Unable to find correct audio chunk for this frame";
inline constexpr char kNo708ChunkForFrame[] = "Unable to find correct cc 708 chunk for this frame";
inline constexpr char kCaptionsNotRead[] = "The captions of this frame could not be read";
inline constexpr char kNothingDecodes[] = "No unit of the audio track can be decoded";
inline constexpr char kBufferTooSmall[] = "The frame is larger than the buffer given for it";

// Opening for writing.
inline constexpr char kCannotCreateAudio[] = "Unable to open audio mp4 file for write (vlx_fmp4)";
inline constexpr char kCannotCreateVideo[] = "Unable to open video mp4 file for write (vlx_fmp4)";
inline constexpr char kRateNotRecordable[] = "The frame rate cannot be recorded";
inline constexpr char kSizeNotRecordable[] = "The picture size cannot be recorded";
inline constexpr char kSampleRateNotRecordable[] = "The audio sample rate cannot be recorded";
inline constexpr char kConfigurationTooShort[] = "The codec configuration is shorter than it says";

// Operation names in status lines.
inline constexpr char kOpen[] = "Open";
inline constexpr char kNoVideoRecord[] = "mov2";
inline constexpr char kNoChannel[] = "fmp4";

// Reports why a call fails; returns its status.
inline std::uint32_t fail(const char* text) {
  reportError(text);
  return VL_FAILED;
}
inline void reportWarning(const char* text) {
  ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlx_fmp4): %s\n", text);
}
inline void reportSeekFailure() {
  ErrFmtOut(VL_LOG_ERROR, 0, 0, "ERROR(vlx_Fmp4): %s\n", kNoAudioChunkForSeek);
}
inline void reportShort(std::uint32_t delivered, std::uint32_t requested) {
  ErrOut("Wrong samples returned %d requested %d", static_cast<int>(delivered), static_cast<int>(requested));
}
inline void reportUnsupportedAudio(const char* codec, std::uint8_t objectType) {
  ErrFmtOut(VL_LOG_WARNING, 0, 0,
            "WARNING(vlx_fmp4): The audio is %s, object type 0x%02X, which is not supported\n", codec,
            objectType);
}
// Reported once for consecutive lost access units.
inline void reportLostAudio(std::uint64_t position) {
  ErrFmtOut(VL_LOG_WARNING, 0, 0,
            "WARNING(vlx_fmp4): The audio cannot be decoded at sample %llu, silence takes its place\n",
            static_cast<unsigned long long>(position));
}
inline void reportRead(std::uint32_t status) {
  ErrOut("ReadFMP4(0x%lX)", static_cast<unsigned long>(status));
}

}  // namespace fmp4::messages
