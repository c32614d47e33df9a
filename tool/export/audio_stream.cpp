#include "tool/export/audio_stream.h"

#include <algorithm>
#include <vector>

#include "base/codec_code.h"
#include "base/exact_time.h"
#include "base/letter_case.h"
#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/audio_object_type.h"
#include "tool/export/adts.h"
#include "tool/export/audio_range.h"
#include "tool/export/lost_audio.h"
#include "tool/export/output_file.h"
#include "tool/host/access_unit_ticks.h"
#include "tool/host/movie_file.h"
#include "tool/host/track_units.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

// objectTypeIndication of AAC as ISO/IEC 13818-7 has it: Main, LC, SSR.
bool isMpeg2Aac(std::uint8_t objectType) {
  return objectType >= 0x66 && objectType <= 0x68;
}

// The file with the audio that the plug-in delivers for a name.
std::string audioFileOf(const std::string& name) {
  const OpenedFiles files = openedFiles(name);
  return files.companion.empty() ? files.media : files.companion;
}

void checkCodec(std::uint32_t codec, const SourceTrack& track, const ExportRequest& request) {
  const std::string audio = "the audio of '" + request.input + "' is ";
  const char* const other = track.codec == kMp4a ? Mp4OtherAudioCodec(track.objectType) : nullptr;
  if (other)
    throw UserError(audio + other +
                    ", which neither .aac nor .ac3 holds; ffmpeg -map 0:a -c copy extracts it");
  if (track.codec == codec) return;
  const bool aac = track.codec == kMp4a;
  throw UserError(audio + (aac ? "AAC" : "AC-3") + "; give the output a name that ends in " +
                  (aac ? ".aac" : ".ac3") + ", or in .wav to decode it");
}

Adts adtsOf(const SourceTrack& track, const std::string& input) {
  std::string why;
  auto adts = Adts::fromConfiguration(track.configuration, isMpeg2Aac(track.objectType), why);
  if (!adts)
    throw UserError("ADTS (.aac) cannot hold the audio of '" + input + "': " + why +
                    "; give the output a name that ends in .wav to decode it");
  return *adts;
}

// The PCM frames that the stream covers, counted from the first access unit.
struct StreamRange {
  std::uint64_t from = 0;
  std::uint64_t end = ~std::uint64_t{0};
};

StreamRange streamRange(const QVRSYSTEM& system, const QVRAUDIO& audio, const ExportRequest& request) {
  if (request.selection.from.isZero() && !request.selection.hasEnd()) return {};
  const AudioRange range = audioRange(request.selection, system, audio, request.input);
  if (range.count == 0)
    throw UserError("the audio of '" + request.input + "' begins after the selected frames");
  if (!request.selection.hasEnd()) return {range.from};
  return {range.from, range.from + range.count};
}

// Writes the access units of a range. Stated durations place them, as they do for the plug-in.
class StreamExport {
 public:
  StreamExport(TrackUnits& units, const QVRAUDIO& audio, const ExportRequest& request)
      : units_(units),
        timescale_(units.track()->timescale),
        sampleRate_(audio.wave.samplesPerSecond),
        unitTicks_(accessUnitTicks(*units.track(), sampleRate_)),
        request_(request),
        lost_(std::max(sampleRate_, 1u)) {
    if (units.track()->codec == kMp4a) adts_ = adtsOf(*units.track(), request.input);
  }

  void run(const StreamRange& range, OutputFile& output) {
    Progress progress("exporting audio", units_.fileSize());
    while (units_.next()) {
      ++number_;
      const std::uint64_t start = frames(ticks_);
      ticks_ = addSaturated(ticks_, units_.sample().duration);
      if (start >= range.end) return;
      if (frames(ticks_) <= range.from) continue;
      if (!write(output)) return lost_.setEnd(start);
      progress.show(units_.position());
    }
    if (units_.damaged()) lost_.setEnd(frames(ticks_));
  }

  double seconds() const { return timescale_ != 0 ? static_cast<double>(written_) / timescale_ : 0; }
  bool anyWritten() const { return anyWritten_; }
  // What is missing in the stream, in one line; empty when nothing is.
  std::string lost() const { return lost_.text(request_.input); }
  std::string gaps() const {
    if (gaps_ == 0) return {};
    return "the audio of '" + request_.input + "' has " + std::to_string(gaps_) + " gap" +
           (gaps_ == 1 ? "" : "s") + ", " + clockText(static_cast<double>(gapTicks_) / timescale_) +
           " in all, which access units alone cannot keep; a .wav file has silence there";
  }

 private:
  std::uint64_t frames(std::uint64_t ticks) const { return scaleExactly(ticks, sampleRate_, timescale_); }

  // False when the file ends before the access unit does.
  bool write(OutputFile& output) {
    const auto bytes = units_.bytes();
    if (!bytes) return false;
    if (bytes->empty()) return true;
    stream_.clear();
    if (!adts_)
      stream_.assign(bytes->begin(), bytes->end());
    else if (!adts_->append(*bytes, stream_))
      throw UserError("an access unit of the audio of '" + request_.input + "' has " +
                      std::to_string(bytes->size()) +
                      " bytes, more than ADTS (.aac) can say; give the output a name that ends in .wav");
    output.write(stream_);
    anyWritten_ = true;
    count(units_.sample().duration);
    return true;
  }

  // An access unit that is stated to last longer than it does has a gap after it, unless it is the last, or
  // the first: ffmpeg lets the encoder's priming last until the video begins.
  void count(std::uint64_t duration) {
    if (gapAfterLast_ != 0 && number_ > 2) {
      ++gaps_;
      gapTicks_ = addSaturated(gapTicks_, gapAfterLast_);
    }
    gapAfterLast_ = gapTicksAfter(duration, unitTicks_);
    written_ = addSaturated(written_, duration - gapAfterLast_);
  }

  TrackUnits& units_;
  std::uint32_t timescale_, sampleRate_;
  std::uint64_t unitTicks_;
  const ExportRequest& request_;
  std::optional<Adts> adts_;
  std::uint64_t number_ = 0;   // of the access unit in the track, from 1
  std::uint64_t ticks_ = 0;    // at the start of the next access unit
  std::uint64_t written_ = 0;  // ticks
  bool anyWritten_ = false;
  std::uint64_t gaps_ = 0, gapTicks_ = 0;
  std::uint64_t gapAfterLast_ = 0;  // ticks; it is a gap once an access unit follows
  std::vector<std::uint8_t> stream_;
  LostAudio lost_;
};

}  // namespace

std::optional<std::uint32_t> streamCodecOf(const std::string& output) {
  if (endsIgnoringCase(output, ".aac")) return kMp4a;
  if (endsIgnoringCase(output, ".ac3")) return kAc3;
  return std::nullopt;
}

double exportAudioStream(std::uint32_t codec, const QVRSYSTEM& system, const QVRAUDIO& audio,
                         const ExportRequest& request) {
  TrackUnits units(audioFileOf(request.input));
  if (!units.choose({kMp4a, kAc3}))
    throw UserError("the audio of '" + request.input + "' cannot be read; 'fmp4 boxes' shows what it has");
  checkCodec(codec, *units.track(), request);
  const StreamRange range = streamRange(system, audio, request);
  StreamExport exporter(units, audio, request);
  OutputFile output(request.output, request.input, request.force);
  output.make([&] {
    exporter.run(range, output);
    if (!exporter.anyWritten())
      throw UserError("the audio of '" + request.input + "' has no access units there that can be read");
  });
  for (const std::string& missing : {exporter.lost(), exporter.gaps()})
    if (!missing.empty()) say(missing);
  return exporter.seconds();
}

}  // namespace fmp4
