#include "recording/check/recorded_movie.h"

#include <algorithm>
#include <array>

#include "base/codec_code.h"
#include "base/text.h"
#include "mp4box/box_type.h"
#include "recording/track_number.h"
#include "streaming/index/track_defaults.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;
using Complain = std::function<void(const std::string&)>;

template <class Payload>
const Payload* payloadAt(Mp4Box* box, const char* path) {
  return Mp4PayloadOf<Payload>(Mp4BoxGet(nullptr, box, true, "%s", path));
}

// The kind of a track with a sample entry of this type.
std::optional<TrackKind> kindOfSampleEntry(std::uint32_t sampleEntry) {
  switch (sampleEntry) {
    case kAvc1:
      return TrackKind::Video;
    case kMp4a:
      return TrackKind::Audio;
    case kC608:
      return TrackKind::Captions608;
    case kC708:
      return TrackKind::Captions708;
    default:
      return std::nullopt;
  }
}

// All samples are in fragments: a sample table has version, flags and counts, all zero, and nothing else.
bool tablesEmpty(Mp4Stream& stream, Mp4Box* stbl) {
  constexpr std::size_t kHeader = 8, kMax = 20;
  for (const std::uint32_t type :
       {Mp4FourCc("stts"), Mp4FourCc("stsc"), Mp4FourCc("stsz"), Mp4FourCc("stco")}) {
    const Mp4Box* const table = Mp4BoxChild(stbl, type);
    if (!table || table->size > kMax || !stream.seek(table->position)) return false;
    std::array<std::uint8_t, kMax> bytes{};
    const auto size = static_cast<std::int64_t>(table->size);
    if (stream.read(bytes.data(), size) != size) return false;
    if (std::any_of(bytes.begin() + kHeader, bytes.end(), [](std::uint8_t byte) { return byte != 0; }))
      return false;
  }
  return true;
}

void takeVideo(Mp4Box* entry, RecordedMovie& movie) {
  if (const auto* visual = Mp4PayloadOf<mp4::VisualSampleEntry>(entry)) {
    movie.width = visual->width;
    movie.height = visual->height;
  }
  if (const auto* avcC = payloadAt<mp4::AVCConfigurationBox>(entry, "avcC")) movie.avcRecord = avcC->record;
}

void takeAudio(Mp4Box* entry, RecordedMovie& movie) {
  const auto* esds = payloadAt<mp4::ESDBox>(entry, "esds");
  if (!esds || !esds->decoderConfig) return;
  movie.audioObjectType = esds->decoderConfig->objectTypeIndication;
  movie.audioConfig = esds->decoderConfig->decoderSpecificInfo;
}

// Why the track is not one of a recording, or nothing.
std::string readTrack(Mp4Stream& stream, const TrackDefaults& defaults, Mp4Box* trak, RecordedMovie& movie,
                      const Complain& complain) {
  const auto* tkhd = payloadAt<mp4::TrackHeaderBox>(trak, "tkhd");
  const auto* mdhd = payloadAt<mp4::MediaHeaderBox>(trak, "mdia/mdhd");
  Mp4Box* const stbl = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl");
  Mp4Box* const stsd = stbl ? Mp4BoxChild(stbl, box_type::kStsd) : nullptr;
  Mp4Box* const entry = stsd ? stsd->first : nullptr;
  if (!tkhd || !mdhd || !entry) return "a track of the movie box lacks its header or its sample description";
  const std::string name = "track " + std::to_string(tkhd->trackId);
  const std::optional<TrackKind> kind = kindOfSampleEntry(entry->type);
  if (!kind) return name + " is of type '" + fourCcText(entry->type) + "', which recordings never have";
  if (tkhd->trackId != trackNumber(*kind) || movie.tracks[*kind])
    return name + " should be the only one of its type, with the number " +
           std::to_string(trackNumber(*kind));
  const auto* trex = defaultsOfTrack(defaults, tkhd->trackId);
  if (!trex || mdhd->timescale == 0) return name + " lacks its timescale or the defaults of its fragments";
  if (!tablesEmpty(stream, stbl))
    complain("the sample tables of " + name + " are not empty, though all its samples are in fragments");
  movie.tracks[*kind] = {mdhd->timescale, trex->defaultSampleDuration, trex->defaultSampleSize,
                         trex->defaultSampleFlags};
  if (*kind == TrackKind::Video) takeVideo(entry, movie);
  if (*kind == TrackKind::Audio) takeAudio(entry, movie);
  return "";
}

}  // namespace

FrameRate RecordedMovie::frameRate() const {
  const RecordedTrack& video = *tracks[TrackKind::Video];
  return {video.timescale, video.defaultSampleDuration};
}

std::optional<RecordedMovie> readRecordedMovie(Mp4Stream& stream, Mp4Box* moov, std::string& reason,
                                               const Complain& complain) {
  RecordedMovie movie;
  const TrackDefaults defaults = readTrackDefaults(moov);
  for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(moov, box_type::kTrak, i); ++i) {
    reason = readTrack(stream, defaults, trak, movie, complain);
    if (!reason.empty()) return std::nullopt;
  }
  if (!movie.hasVideo() && !movie.tracks[TrackKind::Audio]) {
    reason = "the movie box describes neither video nor audio";
    return std::nullopt;
  }
  if (movie.indexedTrack().defaultSampleDuration == 0) {
    reason = "the movie box gives no frame duration";
    return std::nullopt;
  }
  return movie;
}

}  // namespace fmp4
