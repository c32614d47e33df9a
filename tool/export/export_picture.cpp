#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "base/user_error.h"
#include "os/path_name.h"
#include "os/run_program.h"
#include "tool/export/export_streams.h"
#include "tool/export/file_annexb.h"
#include "tool/export/output_file.h"
#include "tool/host/frame_times.h"
#include "tool/host/video_reader.h"

namespace fmp4 {

namespace {

// The video from a key frame up to the frame of the picture.
struct DecodableVideo {
  std::vector<std::uint8_t> stream;  // with start codes
  std::vector<std::int64_t> times;   // when its frames are displayed, in order of decoding
  bool decodable = true;  // the last frame is displayed after the key frame, so it does not need others

  // The place of the last frame's picture in order of display.
  std::int64_t place() const {
    return std::count_if(times.begin(), times.end(),
                         [this](std::int64_t time) { return time < times.back(); });
  }
};

// Collects the frames from `key` to `last`. Pictures that are displayed before the key frame's need frames
// before it, and none after it needs them: they are left out.
class VideoCollector {
 public:
  VideoCollector(CAMediaFile& file, const ExportRequest& request)
      : request_(request), reader_(file, request.input), annexB_(annexBOf(file, request.input)) {}

  std::uint32_t selectedFrame() const { return reader_.range(request_.selection).from; }

  DecodableVideo upTo(std::uint32_t frame) {
    const std::uint32_t key = reader_.keyFrameBefore(frame);
    DecodableVideo video = collect(key, frame);
    return video.decodable || key == 0 ? video : collect(reader_.keyFrameBefore(key - 1), frame);
  }

 private:
  DecodableVideo collect(std::uint32_t key, std::uint32_t last) {
    DecodableVideo video;
    FrameTimes times(request_.input);
    bool allKnown = true;
    for (std::uint32_t frame = key; frame <= last; ++frame) {
      const DFRAME& descriptor = reader_.read(frame);
      const std::optional<FrameTime> known = times.of(frame, descriptor.bytes);
      allKnown = allKnown && known;
      const std::int64_t time = known ? known->compositionTicks : std::int64_t{frame};
      const bool leading = !video.times.empty() && time < video.times.front();
      video.decodable = !leading;
      if (leading) continue;
      video.times.push_back(time);
      if (!annexB_.append(reader_.sample(), (descriptor.flags & DFRAME_KEY) != 0, video.stream))
        throw UserError("frame " + std::to_string(frame) + " of '" + request_.input +
                        "' is damaged: a length in it reaches past its end; --from another frame");
    }
    // Without their times, frames count as displayed in order of decoding.
    if (!allKnown) std::iota(video.times.begin(), video.times.end(), std::int64_t{0});
    return video;
  }

  const ExportRequest& request_;
  VideoReader reader_;
  AnnexB annexB_;
};

// The decoder is to give a picture for each frame, those after a key frame that is no instantaneous refresh
// too.
void decodePicture(const std::string& format, const std::string& stream, std::int64_t place,
                   const std::string& picture) {
  const auto exitCode =
      os::runProgram("ffmpeg", {"-nostdin", "-v", "error", "-y", "-flags", "+output_corrupt", "-f", format,
                                "-i", "file:" + stream, "-vf", "select=eq(n\\," + std::to_string(place) + ")",
                                "-frames:v", "1", "-f", "image2", "-update", "1", "file:" + picture});
  if (!exitCode)
    throw UserError(
        "pictures are decoded by the program ffmpeg, which is not installed; --video writes the frames "
        "for another decoder");
  std::error_code ignored;
  if (*exitCode != 0 || std::filesystem::file_size(vlPath(picture), ignored) == 0)
    throw UserError("ffmpeg could not decode the picture (exit code " + std::to_string(*exitCode) + ")");
}

}  // namespace

void exportPicture(CAMediaFile& file, const ExportRequest& request) {
  VideoCollector collector(file, request);
  const std::uint32_t frame = collector.selectedFrame();
  OutputFile picture(request.output, request.input, request.force);
  picture.make([&] {
    const DecodableVideo video = collector.upTo(frame);
    const char* const format = byteStreamFormat(file);
    const std::string path = request.output + "." + format;
    OutputFile stream(path, request.input, false);  // removed again, as it is never finished
    stream.write(video.stream);
    stream.flush();
    decodePicture(format, path, video.place(), request.output);
  });
}

}  // namespace fmp4
