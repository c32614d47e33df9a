// The message texts of the fragment index, and how they are reported.
#pragma once

#include "vlutil.h"

namespace fmp4::messages {

// Reported as errors. Intended (quirk 11): the track words are mixed up in places; hosts know these texts.
inline constexpr char kNoVideoChunk[] = "Unable to find correct video chunk for this frame";
inline constexpr char kNoAudioChunk[] = "Unable to find correct audio chunk for this frame";
inline constexpr char kNoCaptionChunk[] = "Unable to find correct cc chunk for this frame";
inline constexpr char kNoMoofArrayMemory[] = "Unable to allocate moof array";

// Reported as plain lines.
inline constexpr char kMoofIndexBeyondEnd[] = "fmp4 - Moof index beyond end";
inline constexpr char kNoMoofArray[] = "fmp4 - No Moof Array";
inline constexpr char kNoMoofBox[] = "fmp4 - No Moof box at this index";
inline constexpr char kNoSampleMemory[] = "fmp4 - Failed to allocate mdat buffer for reading";
inline constexpr char kNoCaptionMemory[] = "fmp4 - Failed to allocate cc buffer for reading";

inline void reportIndexError(const char* text) {
  ErrFmtOut(VL_LOG_ERROR, 0, 0, "ERROR(vlx_Fmp4): %s\n", text);
}
inline void reportPlain(const char* text) {
  ErrOut("%s", text);
}

}  // namespace fmp4::messages
