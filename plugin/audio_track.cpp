#include "audio_track.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "audio_specific_config.h"
#include "boxes/esds.h"

namespace {

constexpr std::uint32_t kMp4a = Mp4FourCc("mp4a");
constexpr std::uint32_t kAac = Mp4FourCc("aac ");
constexpr std::uint32_t kAc3 = Mp4FourCc("ac-3");

constexpr std::uint32_t kAacUnitFrames = 1024;
constexpr std::uint32_t kAc3UnitFrames = 1536;

// Larger units are no sound: AAC allows 768 bytes a channel, AC-3 3840.
constexpr std::uint32_t kLargestUnit = 1 << 20;
// How far ahead of a position decoding starts where the unit before is not enough: so many units and more
// until the decoder says that it is settled, in steps that the pattern of its noise repeats in, and not
// without end, whatever the file says.
constexpr std::uint64_t kSettlingUnits = 24;
constexpr std::uint64_t kSettlingPeriod = 16;
constexpr std::uint64_t kLongestLead = 4096;

// No unit is stated to last longer than this, minutes of a gap behind it included.
constexpr std::uint64_t kLongestUnitFrames = 1 << 24;

// Sample frames that a unit decodes to, at the described rate.
std::uint32_t unitFrames(const QVRAUDIO& audio, const std::vector<std::uint8_t>& configuration) {
  if (audio.codec == kAc3) return kAc3UnitFrames;
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config))
    return kAacUnitFrames;
  const auto frames = static_cast<std::uint64_t>(config.frameLength);
  // With SBR a unit of the core's length plays at twice the core's rate. What is described at that rate has
  // it, be it that the configuration does not say so.
  const bool doubled = std::uint64_t{audio.wave.samplesPerSecond} == std::uint64_t{config.frequency} * 2;
  if (!config.sbrSignalled && !doubled) return static_cast<std::uint32_t>(frames);
  const std::uint64_t scaled = scaleExactly(frames, audio.wave.samplesPerSecond, config.frequency);
  return std::max(1u, saturate<std::uint32_t>(scaled));
}

}  // namespace

std::vector<std::uint8_t> FindAudioSpecificConfig(Mp4Box* sampleEntry) {
  const auto* esds = Mp4PayloadOf<mp4::ESDBox>(Mp4BoxChild(sampleEntry, Mp4FourCc("esds")));
  return esds && esds->decoderConfig ? esds->decoderConfig->decoderSpecificInfo : std::vector<std::uint8_t>{};
}

std::uint32_t ConfiguredSampleRate(const std::vector<std::uint8_t>& configuration) {
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config)) return 0;
  return config.sbrSignalled ? config.extensionFrequency : config.frequency;
}

AdtsHeader::AdtsHeader(const std::vector<std::uint8_t>& configuration)
    : profileAndRate_(static_cast<std::uint8_t>(((configuration[0] << 3) | (configuration[1] >> 5)) & 0xFC)),
      channels_(static_cast<std::uint8_t>((configuration[1] & 0xF8) << 3)) {
  if (channels_ & 0xC0) channels_ = static_cast<std::uint8_t>((channels_ & 0x3F) | 0x80);
}

void AdtsHeader::write(std::uint32_t sampleBytes, std::uint8_t* out) const {
  const std::uint32_t length = kBytes + sampleBytes;
  out[0] = 0xFF;
  out[1] = 0xF1;
  out[2] = profileAndRate_;
  out[3] = channels_ & 0xFC;
  out[4] = static_cast<std::uint8_t>(length >> 3);
  out[5] = static_cast<std::uint8_t>((length & 3) << 5);
  out[6] = 0;
}

AudioTrack::AudioTrack(const IndexedTrack& track, QVRSTREAM& holder, VL_Audio_Decode& decoder,
                       std::vector<std::uint8_t> configuration)
    : track_(track),
      holder_(holder),
      decoder_(decoder),
      configuration_(std::move(configuration)),
      cursor_(MakeTrackCursor(track)) {}

void AudioTrack::openDecoder() {
  const std::uint32_t codec = holder_.audio.codec;
  if (decoder_.IsOpen() || (codec != kMp4a && codec != kAac && codec != kAc3)) return;
  decoder_.Init(&holder_.audio);
  const QVRWAVE& wave = holder_.audio.wave;
  decoder_.SetChannels(wave.channels);
  decoder_.SetFrameSize((wave.bitsPerSample + 7u) / 8u * wave.channels);
  decoder_.SetConfiguration(configuration_.data(), configuration_.size());
}

void AudioTrack::closeDecoder() {
  decoder_.Reset();
  decoder_.CloseCodec();
  decoder_.ReleaseBuffer();
}

// The description may say less: of AC-3 it counts one channel, and a rate that is not yet the file's own.
std::uint32_t AudioTrack::deliveredBufferSize(const FrameRate& fps) const {
  const QVRAUDIO& audio = holder_.audio;
  const std::uint64_t frames =
      scaleExactly(audio.wave.samplesPerSecond, fps.denominator, fps.numerator) + std::uint64_t{1};
  return std::max(audio.bufferSize, saturate<std::uint32_t>(frames * decoder_.FrameSize()));
}

int AudioTrack::seek(FragmentIndex& index, std::uint64_t position) {
  const AudioClock start(track_.timescale, holder_.audio.wave.samplesPerSecond,
                         unitFrames(holder_.audio, configuration_));
  if (!timeline_) timeline_ = std::make_unique<AudioTimeline>(index, track_, start);
  AudioUnit unit;
  if (!timeline_->find(index, position, unit)) return -1;
  for (std::uint64_t lead = 1;; lead = std::max(4 * lead, kSettlingUnits)) {
    std::uint64_t first = unit.number - std::min(lead, unit.number);
    if (lead > 1) first -= first % kSettlingPeriod;
    const int led = leadIn(index, first, unit);
    if (led < 0) return -1;
    if (led == 0 || decoder_.Settled() || first == 0 || lead >= kLongestLead) return 0;
  }
}

int AudioTrack::standAt(FragmentIndex& index, const AudioUnit& unit) {
  decoder_.Reset();
  if (LoadFragment(index, unit.fragmentIndex, unit.trunIndex, true, cursor_) < 0) return -1;
  cursor_.standAt(unit.sampleIndex);
  clock_ = unit.clock;
  return 0;
}

int AudioTrack::leadIn(FragmentIndex& index, std::uint64_t first, const AudioUnit& unit) {
  AudioUnit from;
  if (!timeline_->at(index, first, from) || standAt(index, from) < 0) return -1;
  for (std::uint64_t number = first; number < unit.number; ++number) {
    // A unit ahead that is refused or not there says nothing about the one sought.
    if (advance(index) != Outcome::Delivered || decodeUnit(index) != Outcome::Delivered)
      return standAt(index, unit) < 0 ? -1 : 0;
    decoder_.RemoveSamples(decoder_.BufferedFrames());
  }
  return 1;
}

AudioTrack::Outcome AudioTrack::advance(FragmentIndex& index) {
  switch (AdvanceRun(index, true, cursor_)) {
    case Advance::NoRun:
      return Outcome::NoRun;
    case Advance::NoFragment:
      return Outcome::NoFragment;
    default:
      return Outcome::Delivered;
  }
}

// A unit that is damaged, or whose bytes are not there, decodes to nothing: its time is silence, and the unit
// behind it decodes again.
AudioTrack::Outcome AudioTrack::decodeUnit(FragmentIndex& index) {
  const std::uint32_t size = cursor_.sampleSize();
  const std::uint64_t frames = clock_.frames(cursor_.sampleDuration());
  if (frames > kLongestUnitFrames) return Outcome::Refused;
  if (decoder_.CheckBuffer(unitFrames(holder_.audio, configuration_)) != 0) return Outcome::Refused;
  const bool headed = holder_.audio.codec == kMp4a && configuration_.size() >= 2;
  const std::uint32_t header = headed ? AdtsHeader::kBytes : 0;
  decoder_.SetBufferStart(clock_.position());
  if (size > 0 && size <= kLargestUnit) {
    unit_.resize(header + size);
    if (headed) AdtsHeader(configuration_).write(size, unit_.data());
    if (ReadSample(index, cursor_, unit_.data() + header) == 0) {
      std::uint32_t produced = 0;
      decoder_.DecodeFrameAudioBuffered(unit_.data(), header + size, &produced, 0, 0,
                                        static_cast<std::uint32_t>(frames), holder_.audio.wave.channels == 1);
    }
  }
  clock_.pass(cursor_.sampleDuration());
  cursor_.nextSample();
  return Outcome::Delivered;
}

AudioTrack::Outcome AudioTrack::read(FragmentIndex& index, std::uint64_t position, std::uint64_t count,
                                     std::uint8_t* out, std::uint32_t& bytes) {
  const std::uint32_t frameSize = decoder_.FrameSize();
  const std::uint64_t end = position + count;
  bytes = 0;
  while (position < end) {
    const std::uint64_t held = decoder_.BufferedFrames(), start = decoder_.BufferStart();
    if (position >= start && position - start < held) {
      const std::uint64_t taken = std::min(end - position, held - (position - start));
      decoder_.PullAudio(position, static_cast<std::uint32_t>(taken), out, &bytes);
      position += taken;
      continue;
    }
    const Outcome outcome = advance(index);
    if (outcome == Outcome::NoFragment && bytes > 0) return Outcome::Delivered;
    if (outcome != Outcome::Delivered) return outcome;
    if (clock_.position() > position) {
      const std::uint64_t silent = std::min(end, clock_.position()) - position;
      std::memset(out + bytes, 0, silent * frameSize);
      bytes += static_cast<std::uint32_t>(silent * frameSize);
      position += silent;
      continue;
    }
    decoder_.RemoveSamples(static_cast<std::uint32_t>(held));
    if (const Outcome decoded = decodeUnit(index); decoded != Outcome::Delivered) return decoded;
  }
  return Outcome::Delivered;
}
