#include "tool/viewer/audio_range.h"

#include <algorithm>

#include "tool/host/plugin_host.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kMaxAudioCells = 1u << 26;  // of all channels

}  // namespace

static_assert(AudioRangeReader::kCellsABlock * kBlocksASecond == kAudioCellsASecond);

OverviewStreams audioStreams(CAMediaFile& file) {
  OverviewStreams streams;
  if (file.Channels() == 0) return streams;
  QVRAUDIO audio{};
  file.GetFileInfo(kFirstPair, nullptr, nullptr, &audio, nullptr);
  const QVRWAVE& wave = audio.wave;
  if (wave.channels == 0 || wave.channels > kMaxOverviewChannels || wave.bitsPerSample != 16 ||
      wave.samplesPerSecond < kAudioCellsASecond)
    return streams;
  streams.sampleRate = wave.samplesPerSecond;
  streams.channels = wave.channels;
  streams.samples = std::min<std::uint64_t>(
      audio.stream.length, audioCellStart(kMaxAudioCells / wave.channels, wave.samplesPerSecond));
  return streams;
}

AudioRangeReader::AudioRangeReader(CAMediaFile& file, const OverviewStreams& streams)
    : file_(file), streams_(streams) {
  block_.resize(static_cast<std::size_t>(streams.sampleRate / kBlocksASecond + 2) * streams.channels);
}

std::optional<AudioRange> AudioRangeReader::read(std::uint64_t from, std::uint64_t to,
                                                 const std::function<bool()>& stopped) {
  AudioRange range;
  // An access unit that is lost counts where it is met first, which may be in the block before.
  if (from != next_)
    static_cast<void>(deliver(startOfCell(streams_, from - kCellsABlock), startOfCell(streams_, from)));
  range.cells.resize(streams_.channels);
  for (auto& channel : range.cells) channel.reserve(static_cast<std::size_t>(to - from));
  for (next_ = from; next_ < to && !range.isLast; next_ += kCellsABlock) {
    if (stopped()) return std::nullopt;
    addBlock(next_, range);
  }
  return range;
}

void AudioRangeReader::addBlock(std::uint64_t cell, AudioRange& range) {
  const std::uint64_t end = std::min(cell + kCellsABlock, streams_.audioCells());
  const std::uint64_t from = startOfCell(streams_, cell), to = startOfCell(streams_, end);
  const bool delivered = deliver(from, to);
  for (std::uint64_t each = cell; each < end; ++each) {
    const std::uint64_t first = startOfCell(streams_, each), after = startOfCell(streams_, each + 1);
    const auto cells =
        AudioCell::ofFrames(block_.data() + static_cast<std::size_t>(first - from) * streams_.channels,
                            static_cast<std::size_t>(after - first), streams_.channels);
    for (std::size_t channel = 0; channel < streams_.channels; ++channel)
      range.cells[channel].push_back(cells[channel]);
  }
  if (delivered) {
    if (descriptor_.lostUnits != 0)
      range.faults.push_back({AudioFault::Kind::Lost, from, to, descriptor_.lostUnits});
    return;
  }
  const bool goesOn = !range.faults.empty() && range.faults.back().kind == AudioFault::Kind::Unread &&
                      range.faults.back().to == from;
  range.faults.push_back({AudioFault::Kind::Unread, from, to, std::max(descriptor_.lostUnits, 1u)});
  range.isLast = !goesOn && !deliver(streams_.samples - 1, streams_.samples);
}

// Reads PCM frames [from, to). False when none of them is delivered; what is not delivered is silence.
bool AudioRangeReader::deliver(std::uint64_t from, std::uint64_t to) {
  descriptor_.size = sizeof descriptor_;
  descriptor_.bytes = descriptor_.lostUnits = 0;
  descriptor_.data = reinterpret_cast<std::uint8_t*>(block_.data());
  descriptor_.dataCapacity = static_cast<std::uint32_t>(block_.size() * sizeof block_[0]);
  const std::uint32_t status =
      file_.Read(static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - from), kFirstPair,
                 QVR_MODE_AUDIO, &descriptor_, nullptr);
  const std::size_t samples =
      status == VL_OK ? std::min(descriptor_.bytes / sizeof block_[0], block_.size()) : 0;
  std::fill(block_.begin() + static_cast<std::ptrdiff_t>(samples), block_.end(), std::int16_t{0});
  return samples != 0;
}

}  // namespace fmp4
