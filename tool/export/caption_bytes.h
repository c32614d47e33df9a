// Captions as they are stored.
#pragma once

#include "mediafile.h"
#include "tool/export/export_streams.h"

namespace fmp4 {

// JSON lines, one for each frame that has any: {"frame": 7, "cc608": "9420", "cc708": ""}. Throws UserError
// when the file has none or the output cannot be written.
void exportCaptionBytes(CAMediaFile& file, const ExportRequest& request);

}  // namespace fmp4
