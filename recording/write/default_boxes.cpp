#include "recording/write/default_boxes.h"

#include "base/audio_units.h"
#include "base/codec_code.h"
#include "base/fourcc.h"
#include "mp4box/box_header.h"
#include "mp4box/boxes/hdlr.h"
#include "recording/track_number.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

// Seconds since 1904-01-01, for every creation and modification time. Intended (quirk 43): the same in every
// file, so that equal input makes equal files.
constexpr std::uint32_t kFixedTime = 0xCE5F9D88;

constexpr std::uint16_t kUndeterminedLanguage = 0x55C4;  // "und"
constexpr std::uint16_t kThisFile = 1;                   // the only data reference
constexpr std::uint32_t kSeventyTwoDpi = 0x00480000;     // 16.16

constexpr std::uint32_t kInFile = 0x000003;  // tkhd: track enabled, track in movie

std::uint32_t videoTimescale(std::uint32_t rate) {
  return rate <= 1000 ? rate * 1000 : rate;
}

mp4::Track setUpTrack(std::uint32_t trackId, std::uint32_t timescale, std::uint32_t handlerType,
                      const char* handlerName) {
  mp4::Track track;
  // Intended (quirk 44): matrix and volume stay zero unless the track is video.
  track.tkhd.flags = kInFile;
  track.tkhd.creationTime = kFixedTime;
  track.tkhd.modificationTime = kFixedTime;
  track.tkhd.trackId = trackId;
  track.mdhd.creationTime = kFixedTime;
  track.mdhd.modificationTime = kFixedTime;
  track.mdhd.timescale = timescale;
  track.mdhd.language = kUndeterminedLanguage;
  track.hdlr.handlerType = handlerType;
  track.hdlr.name = handlerName;
  return track;
}

mp4::Track setUpCaptionTrack(std::uint32_t trackId, std::uint32_t videoRate, const char* handlerName,
                             std::uint32_t entryType) {
  mp4::Track track = setUpTrack(trackId, videoTimescale(videoRate), mp4::kCaptionHandler, handlerName);
  mp4::CaptionMedia media;
  media.type = entryType;
  media.entry.dataReferenceIndex = kThisFile;
  track.media = media;
  return track;
}

std::uint32_t defaultSampleDuration(TrackKind kind, std::uint32_t videoScale) {
  switch (kind) {
    case TrackKind::Audio:
      return kAacFrameSamples;
    case TrackKind::Captions608:
      return 0;  // each fragment has its own
    default:
      return videoScale == 1001 ? 1001 : 1000;
  }
}

std::uint32_t headerFlags(TrackKind kind) {
  using Header = mp4::TrackFragmentHeaderBox;
  switch (kind) {
    case TrackKind::Audio:
      return Header::kDefaultSampleFlags;
    case TrackKind::Captions608:
      return Header::kDefaultSampleDuration | Header::kDefaultSampleSize;
    default:
      return 0;
  }
}

std::uint32_t runFlags(TrackKind kind) {
  using Run = mp4::TrackRunBox;
  switch (kind) {
    case TrackKind::Video:
      return Run::kSampleSize | Run::kSampleFlags | Run::kCompositionOffset;
    case TrackKind::Captions608:
      return 0;
    default:
      return Run::kSampleSize;
  }
}

}  // namespace

mp4::FileTypeBox Mp4SetUpFileType() {
  mp4::FileTypeBox ftyp;
  ftyp.majorBrand = Mp4FourCc("iso5");
  ftyp.minorVersion = 8191;
  ftyp.compatibleBrands = {Mp4FourCc("iso5"), Mp4FourCc("dash"), Mp4FourCc("msix")};
  return ftyp;
}

mp4::MovieHeaderBox Mp4SetUpMovieHeader() {
  mp4::MovieHeaderBox mvhd;
  mvhd.creationTime = kFixedTime;
  mvhd.modificationTime = kFixedTime;
  mvhd.timescale = 90000;
  mvhd.rate = 0x00010000;
  mvhd.volume = 0x0100;
  mvhd.matrix = mp4::kUnityMatrix;
  mvhd.nextTrackId = 2;  // intended (quirk 44), whichever tracks there are
  return mvhd;
}

mp4::Track Mp4SetUpVideoTrack(std::uint32_t trackId, std::uint32_t videoRate, std::uint32_t width,
                              std::int32_t height) {
  mp4::Track track =
      setUpTrack(trackId, videoTimescale(videoRate), mp4::kVideoHandler, "Veltrane Video Handler");
  track.tkhd.matrix = mp4::kUnityMatrix;
  track.tkhd.width = width << 16;
  track.tkhd.height = rowsOf(height) << 16;
  mp4::VideoMedia media;
  media.vmhd.flags = 1;
  media.avc1.dataReferenceIndex = kThisFile;
  media.avc1.width = static_cast<std::uint16_t>(width);
  media.avc1.height = static_cast<std::uint16_t>(rowsOf(height));
  media.avc1.horizResolution = kSeventyTwoDpi;
  media.avc1.vertResolution = kSeventyTwoDpi;
  media.avc1.frameCount = 1;
  media.avc1.depth = 0x0018;
  media.avc1.preDefined = -1;
  track.media = media;
  return track;
}

mp4::Track Mp4SetUpAudioTrack(std::uint32_t trackId, std::uint32_t sampleRate) {
  mp4::Track track = setUpTrack(trackId, sampleRate, mp4::kAudioHandler, "Veltrane Audio Handler");
  mp4::AudioMedia media;
  media.mp4a.dataReferenceIndex = kThisFile;
  // Intended (quirk 42), whatever the source is: the decoder configuration specifies the stream.
  media.mp4a.channelCount = 2;
  media.mp4a.sampleSize = 16;
  media.mp4a.sampleRate = sampleRate << 16;
  track.media = media;
  return track;
}

mp4::Track Mp4SetUp608Track(std::uint32_t trackId, std::uint32_t videoRate) {
  return setUpCaptionTrack(trackId, videoRate, "Veltrane 608 Closed Captions Media Handler", kC608);
}

mp4::Track Mp4SetUp708Track(std::uint32_t trackId, std::uint32_t videoRate) {
  return setUpCaptionTrack(trackId, videoRate, "Veltrane 708 Closed Captions Media Handler", kC708);
}

mp4::MovieExtends Mp4SetUpMovieExtends(mp4::TrackSet tracks, std::uint32_t videoScale, bool withHeader) {
  mp4::MovieExtends mvex;
  if (withHeader) mvex.mehd.emplace();
  for (const TrackKind kind : mp4::kTrackKinds) {
    if (!tracks.has(kind)) continue;
    mp4::TrackExtendsBox& trex = mvex.trex[kind].emplace();
    trex.trackId = trackNumber(kind);
    trex.defaultSampleDescriptionIndex = 1;
    trex.defaultSampleDuration = defaultSampleDuration(kind, videoScale);
  }
  return mvex;
}

mp4::MovieFragment Mp4SetUpFragment(std::uint32_t sequenceNumber, mp4::TrackSet tracks) {
  mp4::MovieFragment fragment;
  fragment.mfhd.sequenceNumber = sequenceNumber;
  for (const TrackKind kind : mp4::kTrackKinds) {
    if (!tracks.has(kind)) continue;
    mp4::TrackFragment& track = fragment.tracks[kind].emplace();
    track.tfhd.flags = mp4::TrackFragmentHeaderBox::kDefaultBaseIsMoof | headerFlags(kind);
    track.tfhd.trackId = trackNumber(kind);
    track.trun.flags = mp4::TrackRunBox::kDataOffset | runFlags(kind);
    track.trun.dataOffset = kBoxHeaderBytes;  // until the size of the fragment is known
  }
  return fragment;
}

}  // namespace fmp4
