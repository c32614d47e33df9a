// Exports the streams of an open file to files of their own. Each function throws UserError when it cannot.
#pragma once

#include <optional>
#include <string>

#include "captions/caption_cues.h"
#include "mediafile.h"
#include "tool/host/frame_selection.h"

namespace fmp4 {

// What to export, and from which file.
struct ExportRequest {
  std::string input;
  std::string output;
  FrameSelection selection;
  bool force = false;  // replace the output if it exists
  bool exact = false;  // video: refuse to begin before the first selected frame
};

// Video and audio return the duration of what they wrote, in seconds.

// Video as an elementary stream with start codes, parameter sets before every key frame (ISO/IEC 14496-10 and
// 23008-2, Annex B). Begins at the key frame before the first selected frame, and says so.
double exportVideo(CAMediaFile& file, const ExportRequest& request);
// Audio as a WAV file of 16-bit PCM, as RF64 (EBU Tech 3306) above 4 GiB. The selected frames are video
// frames, or frames at the file's frame rate when it has no video.
double exportAudio(CAMediaFile& file, const ExportRequest& request);

// The picture of the first selected frame, in the format that the extension of the output names (.png, .jpg).
// The program ffmpeg decodes it.
void exportPicture(CAMediaFile& file, const ExportRequest& request);

// Which captions to export; by default CC1 if there are CEA-608 captions, else service 1.
struct CaptionRequest {
  ExportRequest streams;
  std::optional<captions::CaptionChannel> channel;
};

// Captions in the format that the extension of the output names: SubRip (.srt) or WebVTT (.vtt) with the text
// of a channel, Scenarist (.scc) with the byte pairs of its field, or the bytes of all of them as JSON lines.
void exportCaptions(CAMediaFile& file, const CaptionRequest& request);

}  // namespace fmp4
