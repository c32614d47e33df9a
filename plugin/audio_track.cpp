#include "plugin/audio_track.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "base/aac/audio_specific_config.h"
#include "base/audio_units.h"
#include "base/codec_code.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/esds.h"
#include "plugin/messages.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kAac = Mp4FourCc("aac ");

// An AAC access unit that starts with ID_END contains no channels (id_syn_ele; ISO/IEC 14496-3, 4.5.2.1).
// Memory and disk blocks that were never written look like this.
constexpr unsigned kAacEnd = 7;

// Larger access units cannot be audio: AAC allows 768 bytes per channel, AC-3 3840.
constexpr std::uint32_t kMaxUnit = 1 << 20;

// Access units to try before giving up on a track: this many in a row at this many positions spread over the
// track; in a short track these are all access units.
constexpr std::uint64_t kTriedUnits = 64;
constexpr std::uint64_t kTriedPositions = 64;

// PCM frames, maximum stated duration of an access unit, including minutes of a gap after it.
constexpr std::uint64_t kMaxUnitFrames = 1 << 24;

// Limits on what a file may describe, far above what any codec has, as the decoder's memory grows with both:
// channels times bits of a PCM frame, and PCM frames of an access unit.
constexpr std::uint32_t kMaxFrameBits = 64 * 64;
constexpr std::uint64_t kMaxDecodedFrames = 1 << 16;

// SBR that nothing signals is sought up to this rate only, hertz: above it cores hardly have SBR, and each
// track would cost a read more.
constexpr std::uint32_t kMaxHiddenSbrRate = 24000;

// PCM frames per decoded access unit, at the described rate.
std::uint32_t unitFrames(const QVRAUDIO& audio, const std::vector<std::uint8_t>& configuration) {
  if (audio.codec == kAc3) return kAc3FrameSamples;
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config))
    return kAacFrameSamples;
  const auto frames = static_cast<std::uint64_t>(config.frameLength);
  // With SBR an access unit plays at twice the sample rate of the core. A track described at that rate uses
  // SBR even if its configuration does not signal it.
  const bool doubled = std::uint64_t{audio.wave.samplesPerSecond} == std::uint64_t{config.frequency} * 2;
  if (!config.sbrSignalled && !doubled) return static_cast<std::uint32_t>(frames);
  const std::uint64_t scaled = scaleExactly(frames, audio.wave.samplesPerSecond, config.frequency);
  return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(scaled, 1, kMaxDecodedFrames));
}

// Whether the first access unit may contain what decoding the others needs and nothing else states: SBR that
// neither the configuration nor the described rate signals, or a program that the configuration lacks.
bool doesFirstUnitTell(const QVRAUDIO& audio, const std::vector<std::uint8_t>& configuration) {
  if (audio.codec != kMp4a && audio.codec != kAac) return false;
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config)) return true;
  return audio.wave.samplesPerSecond <= kMaxHiddenSbrRate && !config.sbrSignalled;
}

// Whether the decoder accepts the ADTS header made of the configuration. If not, it would search the access
// units for headers and keep the first, so that the position where reading begins would change the samples.
bool isHeaderTaken(const std::vector<std::uint8_t>& configuration) {
  UMC::aac::AudioSpecificConfig config{};
  return AdtsHeader(configuration).hasFrequency() ||
         UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config);
}

// The decoder configuration from an `esds` in the sample entry or in its QuickTime "wave" box; null if there
// is none.
const mp4::DecoderConfigDescriptor* findDecoderConfig(Mp4Box* sampleEntry) {
  Mp4Box* const wave = Mp4BoxChild(sampleEntry, Mp4FourCc("wave"));
  for (Mp4Box* const place : {sampleEntry, wave}) {
    const auto* esds = Mp4PayloadOf<mp4::ESDBox>(Mp4BoxChild(place, box_type::kEsds));
    if (esds && esds->decoderConfig) return &*esds->decoderConfig;
  }
  return nullptr;
}

}  // namespace

std::vector<std::uint8_t> findAudioSpecificConfig(Mp4Box* sampleEntry) {
  const mp4::DecoderConfigDescriptor* config = findDecoderConfig(sampleEntry);
  return config ? config->decoderSpecificInfo : std::vector<std::uint8_t>{};
}

std::uint8_t findAudioObjectType(Mp4Box* sampleEntry) {
  const mp4::DecoderConfigDescriptor* config = findDecoderConfig(sampleEntry);
  return config ? config->objectTypeIndication : std::uint8_t{0};
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
      cursor_(track) {}

void AudioTrack::openDecoder() {
  const std::uint32_t codec = holder_.audio.codec;
  if (decoder_.IsOpen() || (codec != kMp4a && codec != kAac && codec != kAc3)) return;
  const QVRWAVE& wave = holder_.audio.wave;
  if (std::uint32_t{wave.channels} * wave.bitsPerSample > kMaxFrameBits) {
    messages::reportError(messages::kNothingDecodes);
    setUndecodable();
    return;
  }
  decoder_.Init(&holder_.audio);
  if (decoder_.MemoryShort()) throw std::bad_alloc();
  decoder_.SetChannels(wave.channels);
  decoder_.SetFrameSize((wave.bitsPerSample + 7u) / 8u * wave.channels);
  // SetConfiguration reports an unsupported configuration itself.
  if (!decoder_.IsOpen()) messages::reportError(messages::kNothingDecodes);
  decoder_.SetConfiguration(configuration_.data(), configuration_.size());
  if (!decoder_.IsOpen()) setUndecodable();
}

void AudioTrack::closeDecoder() {
  decoder_.Reset();
  decoder_.CloseCodec();
  decoder_.ReleaseBuffer();
}

// The description may give a smaller size: for AC-3 it counts one channel, and a rate that is not the file's
// yet.
std::uint32_t AudioTrack::deliveredBufferSize(const FrameRate& fps) const {
  const QVRAUDIO& audio = holder_.audio;
  const std::uint64_t frames =
      scaleExactly(audio.wave.samplesPerSecond, fps.denominator, fps.numerator) + std::uint64_t{1};
  return std::max(audio.bufferSize, saturate<std::uint32_t>(frames * decoder_.FrameSize()));
}

AudioClock AudioTrack::startClock() const {
  return AudioClock(track_.timescale, holder_.audio.wave.samplesPerSecond,
                    unitFrames(holder_.audio, configuration_));
}

void AudioTrack::countIn(FragmentIndex& index) {
  counted_ = index.countAudio(track_, startClock());
}

AudioTimeline& AudioTrack::timeline(FragmentIndex& index) {
  if (!timeline_) timeline_ = std::make_unique<AudioTimeline>(index, track_, counted_, startClock());
  return *timeline_;
}

std::uint64_t AudioTrack::statedLength(FragmentIndex& index) {
  return timeline(index).length();
}

// A timeline that could not be read throughout is wrong from there on: it is made again.
Result AudioTrack::seek(FragmentIndex& index, std::uint64_t position) {
  position_ = kNowhere;
  const std::uint64_t failures = index.stream().readFailures();
  const Result sought = seekToPosition(index, position);
  if (index.stream().readFailures() != failures) {
    timeline_.reset();
    return Defect::ReadFailed;
  }
  if (sought.ok()) position_ = position;
  return sought;
}

Result AudioTrack::seekToPosition(FragmentIndex& index, std::uint64_t position) {
  const auto unit = timeline(index).find(index, position);
  if (!unit) return Defect::EndOfData;
  const bool isFirstUntried = unit->number > 0 && !firstUnitTried_;
  if (isFirstUntried && doesFirstUnitTell(holder_.audio, configuration_)) {
    if (const Result tried = tryFirstUnit(index); !tried.ok()) return tried;
  }
  const auto decodeFrom = [&](std::uint64_t first) { return decodePreRoll(index, first, *unit); };
  return preRoll_.decodeBefore(unit->number, decodeFrom);
}

Result AudioTrack::tryFirstUnit(FragmentIndex& index) {
  const auto first = timeline(index).at(index, 0);
  firstUnitTried_ = true;  // also if it cannot be read: the next seek does without
  if (!first || !seekToUnit(index, *first).ok() || advance(index) != Outcome::Delivered) return {};
  if (decodeUnit(index) != Unit::NoMemory) return {};
  firstUnitTried_ = false;
  return Defect::OutOfMemory;
}

Result AudioTrack::seekToUnit(FragmentIndex& index, const AudioUnit& unit) {
  decoder_.Reset();
  if (const Result loaded = cursor_.LoadFragment(index, unit.fragmentIndex, unit.trunIndex); !loaded.ok())
    return loaded;
  cursor_.seek(unit.sampleIndex);
  number_ = unit.number;
  clock_ = unit.clock;
  filledTo_ = lostTo_ = clock_.position();
  losing_ = false;
  return {};
}

PreRollResult AudioTrack::decodePreRoll(FragmentIndex& index, std::uint64_t first, const AudioUnit& unit) {
  PreRollResult result;
  const auto from = timeline(index).at(index, first);
  result.decoded = from ? seekToUnit(index, *from) : Defect::SampleMissing;
  if (!result.decoded.ok()) return result;
  while (number_ < unit.number) {
    if (advance(index) != Outcome::Delivered) return {.decoded = Defect::SampleMissing};
    const Unit decoded = decodeUnit(index);
    if (decoded == Unit::NoMemory) return {.decoded = Defect::OutOfMemory};
    if (decoded == Unit::Unread) return {.decoded = Defect::ReadFailed};
    decoder_.RemoveSamples(decoder_.BufferedFrames());
    if (result.converged) ++result.spare;
    // Lost access units may have taken it back.
    if (!result.converged || number_ == unit.number) result.converged = decoder_.Converged();
  }
  filledTo_ = clock_.position();
  return result;
}

AudioTrack::Outcome AudioTrack::advance(FragmentIndex& index) {
  switch (cursor_.advance(index)) {
    case Advance::NoRun:
      return Outcome::NoRun;
    case Advance::NoFragment:
      return Outcome::NoFragment;
    case Advance::Unread:
      return Outcome::Unread;
    case Advance::Ready:
      break;
  }
  return Outcome::Delivered;
}

bool AudioTrack::lastsTooLong() const {
  return clock_.frames(cursor_.sampleDuration()) > kMaxUnitFrames;
}

// An access unit that is damaged, or whose bytes are not in the file, is replaced by silence, and the decoder
// history before it is discarded.
AudioTrack::Unit AudioTrack::decodeUnit(FragmentIndex& index) {
  if (decoder_.CheckBuffer(unitFrames(holder_.audio, configuration_)) != 0) return Unit::NoMemory;
  const std::uint64_t start = clock_.position();
  const std::uint64_t stated = clock_.frames(cursor_.sampleDuration());
  decoder_.SetBufferStart(start);
  decoder_.SetUnit(number_);
  const Unit fed = lastsTooLong() ? Unit::Lost : feedDecoder(index, stated);
  if (decoder_.MemoryShort()) return Unit::NoMemory;
  if (fed == Unit::Unread) return fed;
  const bool decoded = fed == Unit::Decoded;
  if (decoded) {
    everDecoded_ = true;
  } else {
    decoder_.ResetHistory();
    decoder_.RemoveSamples(decoder_.BufferedFrames());
  }
  clock_.pass(cursor_.sampleDuration());
  cursor_.next();
  ++number_;
  // If an access unit decodes to more than its duration, the next one still starts on time.
  filledTo_ = std::min(start + decoder_.BufferedFrames(), clock_.position());
  lostTo_ = decoded ? start : addSaturated(start, stated);
  return fed;
}

AudioTrack::Unit AudioTrack::feedDecoder(FragmentIndex& index, std::uint64_t frames) {
  const std::uint32_t size = cursor_.sampleSize();
  if (size == 0 || size > kMaxUnit) return Unit::Lost;
  const bool headed = holder_.audio.codec == kMp4a && configuration_.size() >= 2;
  if (headed && !isHeaderTaken(configuration_)) return Unit::Lost;
  const std::uint32_t header = headed ? AdtsHeader::kBytes : 0;
  unit_.resize(header + size);
  if (headed) AdtsHeader(configuration_).write(size, unit_.data());
  if (const Result read = cursor_.read(index, unit_.data() + header); !read.ok())
    return leftUnread(read) ? Unit::Unread : Unit::Lost;
  if (headed && unit_[header] >> 5 == kAacEnd) return Unit::Lost;
  std::uint32_t produced = 0;
  const std::int32_t left =
      decoder_.DecodeFrameAudioBuffered(unit_.data(), header + size, &produced, 0, 0,
                                        static_cast<std::uint32_t>(frames), holder_.audio.wave.channels == 1);
  // Undecodable data after a complete access unit is not counted as a loss.
  const bool complete = decoder_.BufferedFrames() >= unitFrames(holder_.audio, configuration_);
  return produced > 0 && (left >= 0 || complete) ? Unit::Decoded : Unit::Lost;
}

AudioTrack::Unit AudioTrack::anyUnitDecodes(FragmentIndex& index) {
  const std::uint64_t failures = index.stream().readFailures();
  const AudioTimeline& units = timeline(index);
  for (std::uint64_t place = 0; place < kTriedPositions; ++place) {
    const std::uint64_t first = scaleExactly(units.units(), place, kTriedPositions);
    const std::uint64_t next = scaleExactly(units.units(), place + 1, kTriedPositions);
    if (first == next) continue;
    const auto start = units.at(index, first);
    if (!start || !seekToUnit(index, *start).ok()) continue;
    while (number_ < std::min(next, first + kTriedUnits)) {
      if (advance(index) != Outcome::Delivered) break;
      const Unit unit = decodeUnit(index);
      if (unit == Unit::NoMemory) throw std::bad_alloc();
      if (unit == Unit::Unread) break;
      if (unit == Unit::Decoded) return unit;
    }
  }
  return index.stream().readFailures() == failures ? Unit::Lost : Unit::Unread;
}

AudioTrack::Outcome AudioTrack::read(FragmentIndex& index, std::uint64_t position, std::uint64_t count,
                                     std::uint8_t* out, Delivery& delivery) {
  position_ = kNowhere;
  const std::uint64_t end = position + count;
  while (position < end) {
    if (position >= filledTo_) {
      const Outcome outcome = fill(index, position, delivery);
      if (outcome == Outcome::End && delivery.bytes > 0) break;
      if (outcome != Outcome::Delivered) return outcome;
      continue;
    }
    const std::uint64_t taken = std::min(end, filledTo_) - position;
    deliver(position, taken, out, delivery);
    position += taken;
  }
  position_ = position;
  return Outcome::Delivered;
}

AudioTrack::Outcome AudioTrack::fill(FragmentIndex& index, std::uint64_t position, Delivery& delivery) {
  if (number_ >= timeline(index).units()) {
    if (position >= lostTo_) return Outcome::End;
    filledTo_ = lostTo_;
    return Outcome::Delivered;
  }
  if (const Outcome outcome = advance(index); outcome != Outcome::Delivered) return outcome;
  if (clock_.position() > position) {
    filledTo_ = clock_.position();
    return Outcome::Delivered;
  }
  return decodeNext(index, position, delivery);
}

AudioTrack::Outcome AudioTrack::decodeNext(FragmentIndex& index, std::uint64_t position, Delivery& delivery) {
  if (lastsTooLong()) return Outcome::Refused;
  decoder_.RemoveSamples(decoder_.BufferedFrames());
  const std::uint64_t start = clock_.position();
  const Unit unit = decodeUnit(index);
  if (unit == Unit::NoMemory) return Outcome::Refused;
  if (unit == Unit::Unread) return Outcome::Unread;
  if (unit == Unit::Lost && !everDecoded_) {
    const Unit any = anyUnitDecodes(index);
    if (any == Unit::Unread) return Outcome::Unread;
    if (any == Unit::Lost) {
      setUndecodable();
      messages::reportError(messages::kNothingDecodes);
      return Outcome::Undecodable;
    }
    return seekToPosition(index, position).ok() ? Outcome::Delivered : Outcome::NoRun;
  }
  if (unit == Unit::Lost) ++delivery.lostUnits;
  if (unit == Unit::Lost && !losing_) messages::reportLostAudio(start);
  losing_ = unit == Unit::Lost;
  return Outcome::Delivered;
}

// Outputs PCM where the decoder has it, otherwise silence.
void AudioTrack::deliver(std::uint64_t position, std::uint64_t count, std::uint8_t* out, Delivery& delivery) {
  const std::uint64_t start = decoder_.BufferStart();
  if (position >= start && position - start < decoder_.BufferedFrames()) {
    decoder_.PullAudio(position, static_cast<std::uint32_t>(count), out, &delivery.bytes);
    return;
  }
  const std::uint64_t silent = count * decoder_.FrameSize();
  std::memset(out + delivery.bytes, 0, silent);
  delivery.bytes += static_cast<std::uint32_t>(silent);
}

}  // namespace fmp4
