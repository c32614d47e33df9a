#include "tool/host/media_tracks.h"

#include <array>
#include <cmath>

#include "base/codec_code.h"
#include "base/text.h"
#include "mp4box/audio_object_type.h"
#include "mp4box/box.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/dac3.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/tkhd.h"
#include "os/path_name.h"
#include "tool/host/codec_names.h"
#include "tool/host/codec_profile.h"
#include "tool/host/movie_file.h"
#include "tool/host/other_tracks.h"
#include "tool/host/undecoded_audio.h"

namespace fmp4 {

namespace {

template <class Payload>
const Payload* payloadIn(Mp4Box* box, const char* path) {
  return Mp4PayloadOf<Payload>(Mp4BoxGet(nullptr, box, true, "%s", path));
}

// The three letters of a media header; empty for "und" and for what is no language (QuickTime has numbers).
std::string languageOf(const mp4::MediaHeaderBox& media) {
  std::string letters;
  for (const int shift : {10, 5, 0}) {
    const unsigned letter = media.language >> shift & 31u;
    if (letter < 1 || letter > 26) return {};
    letters += static_cast<char>(letter + 0x60);
  }
  return letters == "und" ? "" : letters;
}

// The payload of a box that has no record, of which the first bytes tell enough.
std::vector<std::uint8_t> beginningOf(Mp4Stream& stream, const Mp4Box* box) {
  std::array<std::uint8_t, 16> bytes{};
  const bool read = box && box->size >= kBoxHeaderBytes + bytes.size() &&
                    stream.seek(box->position + kBoxHeaderBytes) &&
                    stream.read(bytes.data(), bytes.size()) == static_cast<std::int64_t>(bytes.size());
  return read ? std::vector<std::uint8_t>(bytes.begin(), bytes.end()) : std::vector<std::uint8_t>();
}

// Fills in what the sample entry of a track says.
void describeCodec(Mp4Stream& stream, Mp4Box* entry, const SourceTrack* source, MediaTrack& track) {
  if (!entry) return;
  track.codec = entry->type;
  track.codecName = codecName(entry->type);
  const std::vector<std::uint8_t> config = source ? source->configuration : std::vector<std::uint8_t>();
  CodecProfile profile;
  if (entry->type == kHvc1 || entry->type == kHev1)
    profile = hevcProfile(beginningOf(stream, Mp4BoxChild(entry, box_type::kHvcC)));
  else if (track.handler == mp4::kVideoHandler)
    profile = h264Profile(config);
  track.profile = profile.profile;
  track.level = profile.level;
  const auto* audio = Mp4PayloadOf<mp4::AudioSampleEntry>(entry);
  if (!audio) return;
  track.sampleRate = audio->samplesPerSecond();
  track.layout = layoutOfCount(audio->channels());
  if (const auto* ac3 = payloadIn<mp4::AC3SpecificBox>(entry, "dac3")) {
    track.layout = ac3Layout(*ac3);
  } else if (entry->type == kMp4a && source) {
    if (const char* other = Mp4OtherAudioCodec(source->objectType)) track.codecName = other;
    track.profile = aacProfile(config);
    if (const ChannelLayout layout = aacLayout(config); layout.channels != 0) track.layout = layout;
  }
}

void takeCounts(const CountedTrack& counted, MediaTrack& track) {
  track.width = counted.track.width;
  track.height = counted.track.height;
  track.samples = counted.samples;
  track.bytes = counted.bytes;
  track.durationTicks = counted.ticks;
}

MediaTrack describe(MovieFile& file, Mp4Box* trak, std::uint32_t place, const CountedTrack* counted) {
  MediaTrack track;
  const auto* header = payloadIn<mp4::TrackHeaderBox>(trak, "tkhd");
  track.id = header ? header->trackId : place + 1;
  if (const auto* handler = payloadIn<mp4::HandlerBox>(trak, "mdia/hdlr"))
    track.handler = handler->handlerType;
  if (const auto* media = payloadIn<mp4::MediaHeaderBox>(trak, "mdia/mdhd")) {
    track.language = languageOf(*media);
    track.timescale = media->timescale;
  }
  if (counted) takeCounts(*counted, track);
  describeCodec(file.stream(), Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]"),
                counted ? &counted->track : nullptr, track);
  return track;
}

void addTracksOf(WatchedFile& file, std::vector<MediaTrack>& tracks) {
  // Of a damaged file, what its headers say is known nevertheless.
  const std::vector<CountedTrack> counted = file.countedTracks();
  const std::size_t first = tracks.size();
  for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(file.movie.movie(), box_type::kTrak, i); ++i) {
    tracks.push_back(describe(file.movie, trak, i, i < counted.size() ? &counted[i] : nullptr));
    tracks.back().file = vlName(vlPath(file.path).filename());
    tracks.back().read = true;
  }
  for (const OtherTrack& other : otherTracks(file.movie.stream(), file.movie.root())) {
    tracks[first + other.place].read = false;
    tracks[first + other.place].why = other.why;
  }
}

// Audio that is read, yet not decoded, is in the last of the files.
void addDecodingTroubles(const std::string& name, std::vector<MediaTrack>& tracks) {
  const std::vector<std::string> reasons = undecodedAudio(name);
  std::size_t next = 0;
  for (MediaTrack& track : tracks) {
    const bool audio = track.codec == kMp4a || track.codec == kAc3;
    if (!audio || track.file != tracks.back().file || next == reasons.size()) continue;
    if (track.why.empty()) track.why = reasons[next];
    ++next;
  }
}

std::string kindName(const MediaTrack& track) {
  switch (track.handler) {
    case mp4::kVideoHandler:
      return "video";
    case mp4::kAudioHandler:
      return "audio";
    case mp4::kCaptionHandler:
      return "captions";
    case Mp4FourCc("subt"):
    case Mp4FourCc("sbtl"):
    case Mp4FourCc("text"):
      return "subtitles";
    case Mp4FourCc("tmcd"):
      return "timecode";
    case Mp4FourCc("meta"):
      return "metadata";
    case 0:
      return "unknown";
    default:
      return fourCcText(track.handler);
  }
}

std::string codecText(const MediaTrack& track) {
  const std::string type = fourCcText(track.codec);
  return track.codecName == type ? type : track.codecName + " (" + type + ")";
}

}  // namespace

std::optional<std::uint64_t> MediaTrack::bitRate() const {
  if (!samples || seconds() <= 0) return std::nullopt;
  const double rate = static_cast<double>(bytes) * 8 / seconds();
  return rate < 1e18 ? std::optional(static_cast<std::uint64_t>(std::llround(rate))) : std::nullopt;
}

std::vector<MediaTrack> mediaTracks(const std::string& name, WatchedFiles& files) {
  std::vector<MediaTrack> tracks;
  for (WatchedFile& file : files.watched()) addTracksOf(file, tracks);
  addDecodingTroubles(name, tracks);
  return tracks;
}

std::string mediaTrackText(const MediaTrack& track) {
  std::string text = "track " + std::to_string(track.id) + ": " + kindName(track);
  const auto add = [&text](const std::string& part) {
    if (!part.empty()) text += ", " + part;
  };
  if (track.codec != 0) add(codecText(track));
  add(track.level.empty() ? track.profile
                          : track.profile + (track.profile.empty() ? "level " : " ") + track.level);
  if (track.width != 0) add(std::to_string(track.width) + " x " + std::to_string(track.height));
  const std::string channels = std::to_string(track.layout.channels) + " channels";
  if (track.layout.channels != 0) add(track.layout.name.empty() ? channels : track.layout.name);
  if (track.sampleRate != 0) add(std::to_string(track.sampleRate) + " Hz");
  if (const auto rate = track.bitRate()) add(std::to_string((*rate + 500) / 1000) + " kbit/s");
  if (track.samples) add(clockText(track.seconds()));
  add(track.language);
  if (!track.why.empty()) text += (track.read ? "; not decoded: " : "; not read: ") + track.why;
  return text;
}

}  // namespace fmp4
