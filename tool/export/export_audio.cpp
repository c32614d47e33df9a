#include <algorithm>
#include <vector>

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "tool/export/audio_range.h"
#include "tool/export/audio_stream.h"
#include "tool/export/export_streams.h"
#include "tool/export/lost_audio.h"
#include "tool/export/output_file.h"
#include "tool/export/wave_header.h"
#include "tool/host/other_tracks.h"
#include "tool/host/plugin_host.h"
#include "tool/host/undecoded_audio.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

// An access unit claims an impossible duration: audio may follow it.
constexpr std::uint32_t kRefusedDuration = 0xFFFFFFFEu;

// Writes the audio of a range, block by block.
class AudioExport {
 public:
  AudioExport(CAMediaFile& file, const WaveFormat& format, OutputFile& output)
      : file_(file),
        format_(format),
        output_(output),
        blockFrames_(std::max(1u, format.sampleRate / kBlocksASecond)),
        block_(std::size_t{blockFrames_} * format.frameBytes()),
        lost_(format.sampleRate) {}

  // Audio that cannot be read is silence if audio follows, else the end. Returns the status of the last block
  // that could not be read, VL_OK when all could.
  std::uint32_t run(const AudioRange& range) {
    Progress progress("exporting audio", range.count);
    std::uint32_t failure = VL_OK;
    writeZeros(range.silence);
    const std::uint64_t end = range.from + range.count;
    std::uint64_t unread = range.from;
    for (std::uint64_t position = range.from; position < end;) {
      const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>(blockFrames_, end - position));
      const std::uint32_t status = read(position, wanted);
      if (status == VL_OK) {
        writeSilence(unread, position);
        writeBlock();
        lost_.addUnits(position, position + wanted, descriptor_.lostUnits);
        unread = position + wanted;
      } else {
        failure = status;
        if (status != kRefusedDuration && read(end - 1, 1) != VL_OK) break;
      }
      position += wanted;
      progress.show(position - range.from);
    }
    if (unread < end) lost_.setEnd(unread);
    return failure;
  }

  std::uint64_t written() const { return written_; }  // bytes
  bool anyRead() const { return anyRead_; }
  const LostAudio& lost() const { return lost_; }

 private:
  std::uint32_t read(std::uint64_t position, std::uint32_t count) {
    descriptor_ = {};
    descriptor_.size = sizeof descriptor_;
    descriptor_.data = block_.data();
    descriptor_.dataCapacity = static_cast<std::uint32_t>(block_.size());
    const std::uint32_t status = file_.Read(static_cast<std::uint32_t>(position), count, kFirstPair,
                                            QVR_MODE_AUDIO, &descriptor_, nullptr);
    const bool delivered = descriptor_.bytes > 0 && descriptor_.bytes <= block_.size();
    return status == VL_OK && !delivered ? VL_FAILED : status;
  }

  void writeBlock() {
    anyRead_ = true;
    output_.write({block_.data(), descriptor_.bytes});
    written_ += descriptor_.bytes;
  }

  void writeSilence(std::uint64_t from, std::uint64_t to) {
    if (from == to) return;
    lost_.addGap(from, to);
    writeZeros(to - from);
  }

  void writeZeros(std::uint64_t frames) {
    if (frames == 0) return;
    const std::vector<std::uint8_t> silence(block_.size());
    for (std::uint64_t left = frames * format_.frameBytes(); left > 0;) {
      const std::uint64_t bytes = std::min<std::uint64_t>(left, silence.size());
      output_.write({silence.data(), static_cast<std::size_t>(bytes)});
      written_ += bytes;
      left -= bytes;
    }
  }

  CAMediaFile& file_;
  WaveFormat format_;
  OutputFile& output_;
  std::uint32_t blockFrames_;
  std::vector<std::uint8_t> block_;
  DFRAME descriptor_{};
  std::uint64_t written_ = 0;
  bool anyRead_ = false;
  LostAudio lost_;
};

std::string whyNothing(const std::string& name, std::uint32_t status) {
  const std::vector<std::string> reasons = undecodedAudio(name);
  if (!reasons.empty() && !reasons.front().empty()) return reasons.front();
  return "none of it can be decoded (status " + statusText(status) + "); 'fmp4 info' shows its codec";
}

}  // namespace

double exportAudio(CAMediaFile& file, const ExportRequest& request) {
  QVRSYSTEM system{};
  QVRAUDIO audio{};
  file.GetFileInfo(kFirstPair, &system, nullptr, &audio, nullptr);
  const QVRWAVE& wave = audio.wave;
  if (file.Channels() == 0 || wave.channels == 0)
    throw UserError("'" + request.input + "' has no audio" +
                    whyThereIsNone(request.input, mp4::kAudioHandler));
  if (const auto codec = streamCodecOf(request.output))
    return exportAudioStream(*codec, system, audio, request);
  const AudioRange range = audioRange(request.selection, system, audio, request.input);
  const WaveFormat format{wave.samplesPerSecond, wave.channels, wave.bitsPerSample};
  OutputFile output(request.output, request.input, request.force);
  AudioExport exporter(file, format, output);
  output.make([&] {
    output.write(waveHeader(format, (range.silence + range.count) * format.frameBytes()));
    const std::uint32_t status = exporter.run(range);
    if (status != VL_OK && !exporter.anyRead())
      throw UserError("the audio of '" + request.input +
                      "' cannot be decoded: " + whyNothing(request.input, status));
    const std::uint8_t padding = 0;
    if (exporter.written() % 2 != 0) output.write({&padding, 1});
    output.rewriteStart(waveHeader(format, exporter.written()));
  });
  if (const std::string lost = exporter.lost().text(request.input); !lost.empty()) say(lost);
  return static_cast<double>(exporter.written()) / format.frameBytes() / format.sampleRate;
}

}  // namespace fmp4
