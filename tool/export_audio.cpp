#include <algorithm>
#include <cmath>
#include <vector>

#include "commands.h"
#include "export_streams.h"
#include "output_file.h"
#include "plugin_host.h"
#include "progress.h"
#include "sound_skew.h"
#include "text.h"
#include "wave_header.h"

namespace {

// The first audio track's channel pair.
constexpr std::uint32_t kFirstPair = 1;
// Sample frames asked for at a time.
constexpr std::uint32_t kBlockFrames = 48000;

// Sample frames that the selected frames play over, behind `silence` of them where the sound starts late.
struct SampleRange {
  std::uint64_t from;
  std::uint64_t count;
  std::uint64_t silence;
};

SampleRange sampleRange(const FrameSelection& selection, const QVRSYSTEM& system, const QVRAUDIO& audio,
                        const std::string& name) {
  const auto total = static_cast<std::int64_t>(audio.stream.length);
  const auto skew = static_cast<std::int64_t>(std::llround(soundSkew(name) * audio.wave.samplesPerSecond));
  const auto sampleOf = [&](std::uint64_t frame) {
    return static_cast<std::int64_t>(frame * system.scale * audio.wave.samplesPerSecond / system.rate) + skew;
  };
  const std::int64_t begin = sampleOf(selection.from);
  if (begin >= total)
    throw ToolError("the sound of '" + name + "' ends before frame " + std::to_string(selection.from));
  const std::int64_t end =
      selection.count ? std::min(sampleOf(std::uint64_t{selection.from} + *selection.count), total) : total;
  const std::int64_t from = std::max<std::int64_t>(begin, 0), to = std::max<std::int64_t>(end, 0);
  return {static_cast<std::uint64_t>(from), static_cast<std::uint64_t>(std::max(to - from, std::int64_t{0})),
          static_cast<std::uint64_t>(std::min(from, std::max(end, begin)) - begin)};
}

}  // namespace

void exportAudio(CAMediaFile& file, const ExportRequest& request) {
  QVRSYSTEM system{};
  QVRAUDIO audio{};
  file.GetFileInfo(kFirstPair, &system, nullptr, &audio, nullptr);
  const QVRWAVE& wave = audio.wave;
  if (file.Channels() == 0 || wave.channels == 0)
    throw ToolError("'" + request.input + "' has no sound; 'fmp4 info' shows what it has");
  const SampleRange range = sampleRange(request.selection, system, audio, request.input);
  const WaveFormat format{wave.samplesPerSecond, wave.channels, wave.bitsPerSample};
  std::vector<std::uint8_t> block(std::size_t{kBlockFrames} * format.frameBytes());
  OutputFile output(request.output, request.input);
  output.make([&] {
    Progress progress("exporting sound", static_cast<std::uint32_t>(range.count));
    output.write(waveHeader(format, (range.silence + range.count) * format.frameBytes()));
    std::uint64_t written = 0;
    for (std::uint64_t left = range.silence * format.frameBytes(); left != 0;) {
      const std::size_t bytes = static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size()));
      output.write({block.data(), bytes});
      written += bytes;
      left -= bytes;
    }
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
