#include <memory>
#include <string>

#include "base/text.h"
#include "base/user_error.h"
#include "tool/export/edited_captions.h"
#include "tool/export/export_streams.h"
#include "tool/export/output_file.h"
#include "tool/host/captions.h"
#include "tool/host/video_reader.h"
#include "tool/terminal/progress.h"

void exportCaptions(CAMediaFile& file, const ExportRequest& request) {
  QVRINFO info{};
  file.GetFileInfo(1, nullptr, nullptr, nullptr, &info);
  if (info.captions == 0)
    throw UserError("'" + request.input + "' has no caption track; 'fmp4 info' shows what it has");
  VideoReader reader(file, request.input);
  const FrameRange range = reader.range(request.selection);
  const std::unique_ptr<EditedCaptions> edited = EditedCaptions::of(request.input);
  OutputFile output(request.output, request.input, request.force);
  output.make([&] {
    Progress progress("exporting captions", range.count);
    for (std::uint32_t i = 0; i < range.count; ++i) {
      DFRAME descriptor = reader.read(range.from + i);
      if (edited) edited->replaceIn(descriptor, range.from + i);
      const std::string pair = hexText(captionPair(descriptor)), packet = hexText(captionPacket(descriptor));
      if (!pair.empty() || !packet.empty()) {
        const std::string line = "{\"frame\": " + std::to_string(range.from + i) + ", \"cc608\": \"" + pair +
                                 "\", \"cc708\": \"" + packet + "\"}\n";
        output.write({reinterpret_cast<const std::uint8_t*>(line.data()), line.size()});
      }
      progress.show(i + 1);
    }
  });
}
