#include <cstdint>
#include <string>
#include <vector>

#include "base/user_error.h"
#include "tool/export/export_streams.h"
#include "tool/export/file_annexb.h"
#include "tool/export/output_file.h"
#include "tool/host/plugin_host.h"
#include "tool/host/video_reader.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

// The frames to export: the selected ones, and those before them that they need to be decoded.
FrameRange decodableRange(const VideoReader& reader, const ExportRequest& request) {
  const FrameRange selected = reader.range(request.selection);
  const std::uint32_t key = reader.keyFrameBefore(selected.from);
  if (key == selected.from) return selected;
  const std::string keyText = std::to_string(key), fromText = std::to_string(selected.from);
  if (request.exact)
    throw UserError("frame " + fromText + " of '" + request.input +
                    "' is not a key frame and cannot be decoded without those before it; give --from " +
                    keyText + ", or leave --exact out to export from there");
  say("the video begins at frame " + keyText + ", the key frame before frame " + fromText + ", which takes " +
      std::to_string(selected.from - key) + " more frames");
  return {key, selected.count + (selected.from - key)};
}

}  // namespace

double exportVideo(CAMediaFile& file, const ExportRequest& request) {
  VideoReader reader(file, request.input);
  const FrameRange range = decodableRange(reader, request);
  const AnnexB annexB = annexBOf(file, request.input);
  OutputFile output(request.output, request.input, request.force);
  output.make([&] {
    Progress progress("exporting video", range.count);
    std::vector<std::uint8_t> stream;
    for (std::uint32_t i = 0; i < range.count; ++i) {
      const std::uint32_t frame = range.from + i;
      const bool key = (reader.read(frame).flags & DFRAME_KEY) != 0;
      stream.clear();
      if (!annexB.append(reader.sample(), key, stream))
        throw UserError("frame " + std::to_string(frame) + " of '" + request.input +
                        "' is damaged: a length in it reaches past its end; export the frames around it with "
                        "--from and --count");
      output.write(stream);
      progress.show(i + 1);
    }
  });
  return range.count * reader.frameSeconds();
}

}  // namespace fmp4
