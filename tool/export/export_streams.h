// The streams of an open file written to files of their own. Each throws UserError when it cannot.
#pragma once

#include <string>

#include "mediafile.h"
#include "tool/host/frame_selection.h"

// What to export of which file.
struct ExportRequest {
  std::string input;
  std::string output;
  FrameSelection selection;
};

// Video as an elementary stream with start codes, parameter sets ahead of every key frame (ISO/IEC 14496-10
// and 23008-2, Annex B).
void exportVideo(CAMediaFile& file, const ExportRequest& request);
// Sound as a WAV file of 16-bit PCM, an RF64 one (EBU Tech 3306) beyond 4 GiB. Selected frames are those of
// the picture, or of the file's frame rate where there is none.
void exportAudio(CAMediaFile& file, const ExportRequest& request);
// Captions as JSON lines, one for each frame that has any: {"frame": 7, "cc608": "9420", "cc708": ""}.
void exportCaptions(CAMediaFile& file, const ExportRequest& request);
