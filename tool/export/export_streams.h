// Exports the streams of an open file to files of their own. Each function throws UserError when it cannot.
#pragma once

#include <string>

#include "mediafile.h"
#include "tool/host/frame_selection.h"

// What to export, and from which file.
struct ExportRequest {
  std::string input;
  std::string output;
  FrameSelection selection;
  bool force = false;  // replace the output if it exists
  bool exact = false;  // video: refuse to begin before the first selected frame
};

// Video as an elementary stream with start codes, parameter sets before every key frame (ISO/IEC 14496-10 and
// 23008-2, Annex B). Begins at the key frame before the first selected frame, and says so.
void exportVideo(CAMediaFile& file, const ExportRequest& request);
// Audio as a WAV file of 16-bit PCM, as RF64 (EBU Tech 3306) above 4 GiB. The selected frames are video
// frames, or frames at the file's frame rate when it has no video.
void exportAudio(CAMediaFile& file, const ExportRequest& request);
// Captions as JSON lines, one for each frame that has any: {"frame": 7, "cc608": "9420", "cc708": ""}.
void exportCaptions(CAMediaFile& file, const ExportRequest& request);
