// Derives tracks, stream records and the nominal frame rate from the movie box.
#include <cmath>

#include "base/bytes.h"
#include "base/codec_code.h"
#include "mp4box/audio_object_type.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/boxes/visual_entry.h"
#include "plugin/messages.h"
#include "plugin/pcm_format.h"
#include "plugin/source.h"
#include "plugin/status.h"
#include "streaming/index/nominal_duration.h"
#include "streaming/index/track_defaults.h"

namespace fmp4 {

namespace {

// Length of a video track until the index provides it: 20 hours at 24 frames per second.
constexpr std::uint32_t kPlaceholderFrames = 1728000;

// The size in the bitmap header includes the codec configuration and the fixed part of a sample entry.
constexpr std::uint32_t kSampleEntryBytes = 86;

// In the flags of a video description. Their bits are the host's own: it passes them on and names none.
constexpr std::uint32_t kVideoFlagsCleared = 0x0D000000u;
constexpr std::uint32_t kVideoFlagsSet = 0x02000000u;

// Audio buffers per second if there is no video to give a frame duration.
constexpr FrameRate kAudioFrameRate{30, 1};

// Intended (quirk 4): video descriptions hold the code with its four bytes reversed, "avc1" as "1cva";
// EnumCodecs and audio descriptions use file byte order.
constexpr std::uint32_t reversed(std::uint32_t fourcc) {
  return fourcc >> 24 | (fourcc >> 8 & 0xFF00u) | (fourcc << 8 & 0xFF0000u) | fourcc << 24;
}

}  // namespace

std::uint32_t Source::setUpTracks() {
  Mp4Box* movie = Mp4BoxGet(&stream_, file_->root(), false, "moov");
  if (!movie) return VL_OK;
  const TrackDefaults defaults = readTrackDefaults(movie);
  for (std::uint32_t i = 0; Mp4Box* trak = Mp4BoxChild(movie, box_type::kTrak, i); ++i) {
    if (const std::uint32_t result = setUpTrack(trak, i + 1, defaults); result != VL_OK) return result;
  }
  return VL_OK;
}

std::uint32_t Source::setUpTrack(Mp4Box* trak, std::uint32_t ordinal, const TrackDefaults& defaults) {
  const auto* header = Mp4PayloadOf<mp4::TrackHeaderBox>(Mp4BoxChild(trak, box_type::kTkhd));
  Mp4Box* sampleEntry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
  if (!sampleEntry) return VL_OK;
  IndexedTrack track;
  track.trackId = header ? header->trackId : ordinal;
  if (const auto* media = Mp4PayloadOf<mp4::MediaHeaderBox>(Mp4BoxGet(nullptr, trak, true, "mdia/mdhd"))) {
    track.timescale = media->timescale;
  }
  const auto extends = defaults.find(track.trackId);
  if (extends != defaults.end()) track.trex = extends->second;

  switch (sampleEntry->type) {
    case kAvc1:
    case kHvc1:
      return setUpVideo(sampleEntry, track);
    case kMp4a:
    case kAc3:
      setUpAudio(sampleEntry, track);
      return VL_OK;
    case kC608:
      tracks_[kCc608Track] = track;
      return VL_OK;
    case kC708:
      tracks_[kCc708Track] = track;
      return VL_OK;
    default:
      return VL_OK;
  }
}

// Only the first video track of a file is read.
std::uint32_t Source::setUpVideo(const Mp4Box* sampleEntry, const IndexedTrack& track) {
  const auto* entry = Mp4PayloadOf<mp4::VisualSampleEntry>(sampleEntry);
  if (!entry || hasVideo()) return VL_OK;
  tracks_[kVideoTrack] = track;
  nominalRate_ = {track.timescale, nominalDuration(track)};
  if (!nominalRate_.known()) nominalRate_ = {};

  host_.video.bitmap.width = static_cast<std::int16_t>(entry->width);
  host_.video.bitmap.height = static_cast<std::int16_t>(entry->height);
  host_.video.stream.frameRight = host_.video.bitmap.width;
  host_.video.stream.frameBottom = host_.video.bitmap.height;
  host_.video.stream.length = kPlaceholderFrames;
  host_.video.stream.handler = host_.video.bitmap.compression = reversed(sampleEntry->type);
  host_.video.flags = (host_.video.flags & ~kVideoFlagsCleared) | kVideoFlagsSet;
  if (const std::uint32_t result = takeCodecConfiguration(sampleEntry); result != VL_OK) return result;

  QVRSTREAM* holder = host_.addStream();
  if (!holder) return FMP4_E_NO_VIDEO_HOLDER;
  holder->kind = QVR_KIND_VIDEO;
  holder->video = host_.video;
  host_.videoChannels = 1;
  return VL_OK;
}

// Stores the configuration box, including its header, directly after the bitmap header.
std::uint32_t Source::takeCodecConfiguration(const Mp4Box* sampleEntry) {
  const std::uint32_t wanted = sampleEntry->type == kAvc1 ? box_type::kAvcC : box_type::kHvcC;
  for (const Mp4Box* child = sampleEntry->first; child; child = child->next) {
    if (child->type != wanted) continue;
    if (child->size > sizeof host_.video.colourTable) return messages::fail(messages::kConfigurationTooLong);
    const auto size = static_cast<std::uint32_t>(child->size);
    if (!stream_.seek(child->position) || stream_.read(host_.video.colourTable, size) != size) return VL_OK;
    host_.video.bitmap.size = size + kSampleEntryBytes;
    return VL_OK;
  }
  return VL_OK;
}

// The nominal frame duration of the track, 0 if unknown. Reads as many fragments as necessary.
std::uint32_t Source::nominalDuration(const IndexedTrack& track) {
  NominalDuration nominal(track.trex ? track.trex->defaultSampleDuration : 0);
  for (unsigned long i = 0; !nominal.converged(); ++i) {
    const Mp4Box* moof = Mp4BoxGet(&stream_, file_->root(), false, "moof[%lu]", i);
    if (!moof) break;
    const TrackFragment fragment = readTrackFragment(moof, track.trackId);
    nominal.addFragment(fragment, SampleDefaults(fragment.tfhd, track.trex));
  }
  return nominal.value();
}

// Adds `count` channels to the file, as far as the mask permits. Returns the channels added.
std::uint32_t Source::addChannels(std::uint32_t count) {
  const std::uint32_t before = host_.audioMask;
  for (; count > 0 && host_.audioMask != ~0u; --count) host_.audioMask = host_.audioMask << 1 | 1;
  return host_.audioMask & ~before;
}

// Describes an audio track of a codec (four characters in file byte order), apart from its channel mask.
QVRAUDIO Source::describeAudio(std::uint32_t codec, const PcmFormat& format) const {
  QVRAUDIO audio = host_.audio;
  QVRWAVE& wave = audio.wave;
  wave.channels = format.channels;
  wave.samplesPerSecond = format.samplesPerSecond;
  wave.bitsPerSample = kDecodedBits;
  const std::uint32_t sampleBytes = (wave.bitsPerSample + 7u) / 8u;
  // Intended (quirk 7): AC-3 keeps the block alignment of one channel, and its buffer size uses the described
  // frame rate.
  const bool ac3 = codec == kAc3;
  wave.blockAlign = static_cast<std::uint16_t>(ac3 ? sampleBytes : sampleBytes * wave.channels);
  wave.averageBytesPerSecond =
      saturate<std::uint32_t>(std::uint64_t{wave.blockAlign} * wave.samplesPerSecond);
  audio.codec = audio.stream.handler = codec;
  audio.stream.rate = wave.samplesPerSecond;
  audio.stream.scale = 1;
  FrameRate fps = ac3 ? FrameRate{host_.video.stream.rate, host_.video.stream.scale} : nominalRate_;
  if (!ac3 && !(hasVideo() && nominalRate_.known())) fps = kAudioFrameRate;
  audio.bufferSize = saturate<std::uint32_t>(
      static_cast<std::uint64_t>(std::trunc(wave.samplesPerSecond / fps.value() + 1.0)) * wave.blockAlign);
  audio.stream.suggestedBufferSize = audio.bufferSize;
  return audio;
}

void Source::setUpAudio(Mp4Box* sampleEntry, const IndexedTrack& track) {
  const auto* entry = Mp4PayloadOf<mp4::AudioSampleEntry>(sampleEntry);
  if (!entry || audioTracks_.size() >= kAudioTrackSlots) return;
  QVRSTREAM* holder = host_.addStream();
  if (!holder) {
    ErrMsgOut(FMP4_E_NO_STREAM_HOLDER, messages::kOpen, 0, 0);
    return;
  }
  std::vector<std::uint8_t> configuration = findAudioSpecificConfig(sampleEntry);
  QVRAUDIO audio = describeAudio(sampleEntry->type, pcmFormatOf(sampleEntry, *entry, configuration));
  audio.channelMask = addChannels(audio.wave.channels);
  holder->kind = QVR_KIND_AUDIO;
  holder->audio = audio;
  VL_Audio_Decode& decoder = decoders_[audioTracks_.size()];
  audioTracks_.push_back(std::make_unique<AudioTrack>(track, *holder, decoder, std::move(configuration)));
  if (const std::uint8_t objectType = findAudioObjectType(sampleEntry); Mp4OtherAudioCodec(objectType)) {
    messages::reportUnsupportedAudio(Mp4OtherAudioCodec(objectType), objectType);
    audioTracks_.back()->setUndecodable();
  }
  if (!tracks_[kAudioTrack].present()) {
    tracks_[kAudioTrack] = track;
    host_.audio = audio;
  }
}

}  // namespace fmp4
