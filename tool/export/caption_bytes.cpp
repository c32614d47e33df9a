#include "tool/export/caption_bytes.h"

#include <string>

#include "base/text.h"
#include "tool/export/caption_frames.h"
#include "tool/export/output_file.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

void exportCaptionBytes(CAMediaFile& file, const ExportRequest& request) {
  CaptionFrames frames(file, request.input);
  const FrameRange range = frames.range(request.selection);
  OutputFile output(request.output, request.input, request.force);
  output.make([&] {
    Progress progress("exporting captions", range.count);
    frames.read(range, 0, [&](const FrameCaptions& captions) {
      progress.show(captions.frame - range.from + 1);
      if (captions.pair.empty() && captions.packet.empty()) return;
      output.write("{\"frame\": " + std::to_string(captions.frame) + ", \"cc608\": \"" +
                   hexText(captions.pair) + "\", \"cc708\": \"" + hexText(captions.packet) + "\"}\n");
    });
  });
}

}  // namespace fmp4
