#include <algorithm>
#include <vector>

#include "commands.h"
#include "export_streams.h"
#include "other_tracks.h"
#include "output_file.h"
#include "plugin_host.h"
#include "progress.h"
#include "text.h"
#include "wave_header.h"

namespace {

// The first audio track's channel pair.
constexpr std::uint32_t kFirstPair = 1;
// Sample frames asked for at a time.
constexpr std::uint32_t kBlockFrames = 48000;

// Sample frames that the selected frames play over.
struct SampleRange {
  std::uint64_t from;
  std::uint64_t count;
};

SampleRange sampleRange(const FrameSelection& selection, const QVRSYSTEM& system, const QVRAUDIO& audio,
                        const std::string& name) {
  const std::uint64_t total = audio.stream.length;
  const auto sampleOf = [&](std::uint64_t frame) {
    return frame * system.scale * audio.wave.samplesPerSecond / system.rate;
  };
  const std::uint64_t from = sampleOf(selection.from);
  if (from >= total)
    throw ToolError("the sound of '" + name + "' ends before frame " + std::to_string(selection.from));
  const std::uint64_t end =
      selection.count ? sampleOf(std::uint64_t{selection.from} + *selection.count) : total;
  return {from, std::min(end, total) - from};
}

}  // namespace

void exportAudio(CAMediaFile& file, const ExportRequest& request) {
  QVRSYSTEM system{};
  QVRAUDIO audio{};
  file.GetFileInfo(kFirstPair, &system, nullptr, &audio, nullptr);
  const QVRWAVE& wave = audio.wave;
  if (file.Channels() == 0 || wave.channels == 0)
    throw ToolError("'" + request.input + "' has no sound" +
                    whyThereIsNone(request.input, Mp4FourCc("soun")));
  const SampleRange range = sampleRange(request.selection, system, audio, request.input);
  const WaveFormat format{wave.samplesPerSecond, wave.channels, wave.bitsPerSample};
  std::vector<std::uint8_t> block(std::size_t{kBlockFrames} * format.frameBytes());
  OutputFile output(request.output, request.input);
  output.make([&] {
    Progress progress("exporting sound", static_cast<std::uint32_t>(range.count));
    output.write(waveHeader(format, range.count * format.frameBytes()));
    std::uint64_t written = 0;
    for (std::uint64_t done = 0; done < range.count;) {
      const auto wanted =
          static_cast<std::uint32_t>(std::min<std::uint64_t>(kBlockFrames, range.count - done));
      DFRAME descriptor{};
      descriptor.size = sizeof descriptor;
      descriptor.data = block.data();
      descriptor.dataCapacity = static_cast<std::uint32_t>(block.size());
      const auto position = static_cast<std::uint32_t>(range.from + done);
      const std::uint32_t status =
          file.Read(position, wanted, kFirstPair, QVR_MODE_AUDIO, &descriptor, nullptr);
      if (status != VL_OK || descriptor.bytes > block.size() || (descriptor.bytes == 0 && done == 0))
        throw ToolError("the sound of '" + request.input + "' cannot be decoded at sample " +
                        std::to_string(position) + " (status " + statusText(status) +
                        "); 'fmp4 info' shows its codec");
      output.write({block.data(), descriptor.bytes});
      written += descriptor.bytes;
      done += wanted;
      progress.show(static_cast<std::uint32_t>(done));
    }
    const std::uint8_t padding = 0;
    if (written % 2 != 0) output.write({&padding, 1});
    output.rewriteStart(waveHeader(format, written));
  });
}
