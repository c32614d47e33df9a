#include "tool/viewer/overview_file.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/crc32.h"

namespace fmp4 {

namespace {

// The layout: the mark, the CRC-32 of what follows, then the key and the overview in the order in which they
// are written here. Numbers are little-endian. The mark changes with the layout.
constexpr std::string_view kMark = "fmp4ovw1";
constexpr std::size_t kCrcBytes = 4;

class ByteWriter {
 public:
  void number(std::uint64_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i) text_ += static_cast<char>(value >> 8 * i);
  }
  void text(const std::string& value) {
    number(value.size(), 4);
    text_ += value;
  }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

// Gives zeros past the end, and says so.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::uint64_t number(unsigned bytes) {
    std::uint64_t value = 0;
    if (!has(bytes)) return 0;
    for (unsigned i = 0; i < bytes; ++i) value |= std::uint64_t{bytes_[i]} << 8 * i;
    bytes_ = bytes_.subspan(bytes);
    return value;
  }
  std::uint32_t number32() { return static_cast<std::uint32_t>(number(4)); }
  // A count of elements, each of at least `bytes`, that can be there.
  std::size_t count(std::size_t bytes) {
    const std::uint32_t value = number32();
    if (value > bytes_.size() / bytes) failed_ = true;
    return failed_ ? 0 : value;
  }
  std::string text() {
    const std::size_t size = count(1);
    std::string value(reinterpret_cast<const char*>(bytes_.data()), size);
    bytes_ = bytes_.subspan(size);
    return value;
  }
  // Whether everything was there, and nothing else.
  bool atEnd() const { return !failed_ && bytes_.empty(); }

 private:
  bool has(std::size_t bytes) {
    failed_ = failed_ || bytes > bytes_.size();
    return !failed_;
  }

  std::span<const std::uint8_t> bytes_;
  bool failed_ = false;
};

constexpr unsigned kFaultBytes = 21, kCueBytes = 20, kAudioCellBytes = 4;

void writeStreams(ByteWriter& out, const OverviewStreams& streams) {
  out.number(streams.rate.numerator, 4);
  out.number(streams.rate.denominator, 4);
  out.number(streams.frames, 4);
  out.number(streams.sampleRate, 4);
  out.number(streams.channels, 4);
  out.number(streams.samples, 8);
  out.number(static_cast<std::uint64_t>(streams.audioLeadNanoseconds), 8);
}

OverviewStreams readStreams(ByteReader& in) {
  OverviewStreams streams;
  streams.rate.numerator = in.number32();
  streams.rate.denominator = in.number32();
  streams.frames = in.number32();
  streams.sampleRate = in.number32();
  streams.channels = in.number32();
  streams.samples = in.number(8);
  streams.audioLeadNanoseconds = static_cast<std::int64_t>(in.number(8));
  return streams;
}

std::vector<AudioCell> readCells(ByteReader& in) {
  std::vector<AudioCell> cells(in.count(kAudioCellBytes));
  for (AudioCell& cell : cells) {
    cell.peak = static_cast<std::uint16_t>(in.number(2));
    cell.rms = static_cast<std::uint16_t>(in.number(2));
  }
  return cells;
}

AudioFault readFault(ByteReader& in) {
  const auto kind = static_cast<AudioFault::Kind>(std::min<std::uint64_t>(in.number(1), 2));
  const std::uint64_t from = in.number(8), to = in.number(8);
  return {kind, from, to, in.number32()};
}

std::vector<TextCue> readCues(ByteReader& in) {
  std::vector<TextCue> cues(in.count(kCueBytes));
  for (TextCue& cue : cues) {
    cue.first = static_cast<std::int64_t>(in.number(8));
    cue.end = static_cast<std::int64_t>(in.number(8));
    cue.text = in.text();
  }
  return cues;
}

// Whether there are as many cells of each channel as the streams have.
bool hasAllAudio(const OverviewStreams& streams, const AudioCells& audio) {
  if (audio.size() != streams.channels || streams.samples > 0xFFFFFFFFu) return false;
  if (streams.channels != 0 && streams.sampleRate < kAudioCellsASecond) return false;
  return std::all_of(audio.begin(), audio.end(), [&streams](const std::vector<AudioCell>& cells) {
    return cells.size() == streams.audioCells();
  });
}

bool areInOrder(const std::vector<AudioFault>& faults, std::uint64_t samples) {
  const auto isOutside = [samples](const AudioFault& fault) {
    return fault.from >= fault.to || fault.to > samples;
  };
  return std::none_of(faults.begin(), faults.end(), isOutside) &&
         std::is_sorted(faults.begin(), faults.end(),
                        [](const AudioFault& a, const AudioFault& b) { return a.from < b.from; });
}

bool areInOrder(const std::vector<TextCue>& cues, std::uint32_t frames) {
  const auto isOutside = [frames](const TextCue& cue) {
    return cue.first < 0 || cue.first >= cue.end || cue.end > std::int64_t{frames};
  };
  return std::none_of(cues.begin(), cues.end(), isOutside) &&
         std::is_sorted(cues.begin(), cues.end(),
                        [](const TextCue& a, const TextCue& b) { return a.first < b.first; });
}

// Whether the parts of an overview agree.
bool isConsistent(const Overview::Finest& finest) {
  const OverviewStreams& streams = finest.streams;
  return finest.frames.size() == streams.frames && hasAllAudio(streams, finest.audio) &&
         areInOrder(finest.faults, streams.samples) &&
         std::all_of(finest.captions.begin(), finest.captions.end(),
                     [&streams](const auto& channel) { return areInOrder(channel.second, streams.frames); });
}

}  // namespace

std::string overviewBytes(const Overview::Finest& finest, const std::string& key) {
  ByteWriter out;
  out.text(key);
  writeStreams(out, finest.streams);
  out.number(finest.frames.size(), 4);
  for (const FrameValue& frame : finest.frames) out.number(frame.bits, 4);
  for (const std::vector<AudioCell>& channel : finest.audio) {
    out.number(channel.size(), 4);
    for (const AudioCell& cell : channel) out.number(cell.peak | std::uint32_t{cell.rms} << 16, 4);
  }
  out.number(finest.faults.size(), 4);
  for (const AudioFault& fault : finest.faults) {
    out.number(static_cast<std::uint8_t>(fault.kind), 1);
    out.number(fault.from, 8);
    out.number(fault.to, 8);
    out.number(fault.units, 4);
  }
  out.number(finest.captions.size(), 4);
  for (const auto& [channel, cues] : finest.captions) {
    out.text(channel);
    out.number(cues.size(), 4);
    for (const TextCue& cue : cues) {
      out.number(static_cast<std::uint64_t>(cue.first), 8);
      out.number(static_cast<std::uint64_t>(cue.end), 8);
      out.text(cue.text);
    }
  }
  const std::string content = out.take();
  ByteWriter head;
  head.number(crc32({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}), kCrcBytes);
  return std::string(kMark) + head.take() + content;
}

std::optional<Overview::Finest> overviewOfBytes(std::span<const std::uint8_t> bytes, const std::string& key) {
  const std::size_t head = kMark.size() + kCrcBytes;
  if (bytes.size() < head || !std::equal(kMark.begin(), kMark.end(), bytes.begin())) return std::nullopt;
  const std::uint32_t crc = ByteReader(bytes.subspan(kMark.size(), kCrcBytes)).number32();
  bytes = bytes.subspan(head);
  ByteReader in(bytes);
  if (crc32(bytes) != crc || in.text() != key) return std::nullopt;
  Overview::Finest finest;
  finest.streams = readStreams(in);
  finest.frames.resize(in.count(4));
  for (FrameValue& frame : finest.frames) frame.bits = in.number32();
  for (std::uint32_t i = 0; i < finest.streams.channels && i < kMaxOverviewChannels; ++i)
    finest.audio.push_back(readCells(in));
  finest.faults.resize(in.count(kFaultBytes));
  for (AudioFault& fault : finest.faults) fault = readFault(in);
  for (std::size_t channels = in.count(8); channels > 0; --channels) {
    const std::string name = in.text();
    finest.captions[name] = readCues(in);
  }
  if (!in.atEnd() || !isConsistent(finest)) return std::nullopt;
  return finest;
}

}  // namespace fmp4
