#include "tool/host/other_tracks.h"

#include <array>

#include "base/bytes.h"
#include "base/codec_code.h"
#include "base/text.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/frma.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/boxes/visual_entry.h"
#include "streaming/index/audio_track_slots.h"
#include "tool/host/codec_names.h"
#include "tool/host/movie_file.h"

namespace fmp4 {

namespace {

template <class Payload>
const Payload* trackPayload(Mp4Box* box, const char* path) {
  return Mp4PayloadOf<Payload>(Mp4BoxGet(nullptr, box, true, "%s", path));
}

bool isEncrypted(std::uint32_t codec) {
  return codec == Mp4FourCc("encv") || codec == Mp4FourCc("enca") || codec == Mp4FourCc("enct") ||
         codec == Mp4FourCc("encs") || codec == Mp4FourCc("drmi") || codec == Mp4FourCc("drms");
}

// "encrypted H.264 (scheme cenc)": the "sinf" in the sample entry names the protection scheme (ISO/IEC
// 14496-12, 8.12).
std::string describeEncryption(Mp4Stream& stream, Mp4Box* sampleEntry) {
  std::string text = "encrypted";
  if (const auto* original = trackPayload<mp4::OriginalFormatBox>(sampleEntry, "sinf/frma"))
    text.append(" ").append(codecName(original->dataFormat));
  const Mp4Box* const scheme = Mp4BoxGet(nullptr, sampleEntry, true, "sinf/schm");
  std::array<std::uint8_t, 4> type{};
  const bool read = scheme && scheme->size >= 16 && stream.seek(scheme->position + 12) &&
                    stream.read(type.data(), type.size()) == static_cast<std::int64_t>(type.size());
  return read ? text + " (scheme " + fourCcText(Mp4LoadU32(type.data())) + ")" : text;
}

// Walks the tracks of a movie as the plug-in does when it opens one, and says why it ignores a track.
class TrackChoice {
 public:
  explicit TrackChoice(Mp4Stream& stream) : stream_(stream) {}

  // Empty for a track that is read.
  std::string whyNot(Mp4Box* sampleEntry) {
    if (!sampleEntry) return "it has no sample description";
    const std::uint32_t codec = sampleEntry->type;
    if (isEncrypted(codec)) return describeEncryption(stream_, sampleEntry);
    switch (codec) {
      case kAvc1:
      case kHvc1:
        if (!Mp4PayloadOf<mp4::VisualSampleEntry>(sampleEntry)) break;
        return videoTracks_++ == 0 ? "" : "only the first video track is read";
      case kMp4a:
      case kAc3:
        if (!Mp4PayloadOf<mp4::AudioSampleEntry>(sampleEntry)) break;
        if (audioTracks_++ < kAudioTrackSlots) return "";
        return "only the first " + std::to_string(kAudioTrackSlots) + " audio tracks are read";
      case kC608:
      case kC708:
        return "";
      default:
        return codecName(codec) + " is not supported";
    }
    return "its sample description is damaged";
  }

 private:
  Mp4Stream& stream_;
  unsigned videoTracks_ = 0;
  unsigned audioTracks_ = 0;
};

}  // namespace

std::vector<OtherTrack> otherTracks(Mp4Stream& stream, Mp4Box* root) {
  std::vector<OtherTrack> tracks;
  TrackChoice choice(stream);
  Mp4Box* const movie = Mp4BoxChild(root, box_type::kMoov);
  for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(movie, box_type::kTrak, i); ++i) {
    Mp4Box* const sampleEntry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
    OtherTrack track;
    track.why = choice.whyNot(sampleEntry);
    if (track.why.empty()) continue;
    track.place = i;
    const auto* header = trackPayload<mp4::TrackHeaderBox>(trak, "tkhd");
    track.id = header ? header->trackId : i + 1;
    if (const auto* handler = trackPayload<mp4::HandlerBox>(trak, "mdia/hdlr"))
      track.handler = handler->handlerType;
    if (sampleEntry) track.codec = sampleEntry->type;
    tracks.push_back(std::move(track));
  }
  return tracks;
}

std::vector<OtherTrack> otherTracksOf(const std::string& name) {
  std::vector<OtherTrack> tracks;
  const OpenedFiles files = openedFiles(name);
  for (const std::string& path : {files.media, files.companion}) {
    if (path.empty()) continue;
    MovieFile file(path);
    if (!file.isOpen()) continue;
    for (OtherTrack& track : otherTracks(file.stream(), file.root())) tracks.push_back(std::move(track));
  }
  return tracks;
}

std::string trackText(const OtherTrack& track) {
  std::string kind;
  for (const std::uint32_t code : {track.handler, track.codec}) {
    if (code == 0) continue;
    kind += kind.empty() ? " (" : ", ";
    kind += fourCcText(code);
  }
  if (!kind.empty()) kind += ')';
  return "track " + std::to_string(track.id) + kind + ": " + track.why;
}

std::string trackTexts(const std::vector<OtherTrack>& tracks) {
  std::string texts;
  for (const OtherTrack& track : tracks) {
    if (!texts.empty()) texts += "; ";
    texts += trackText(track);
  }
  return texts;
}

std::string whyThereIsNone(const std::string& name, std::uint32_t handler) {
  std::vector<OtherTrack> tracks = otherTracksOf(name);
  std::erase_if(tracks, [handler](const OtherTrack& track) { return track.handler != handler; });
  return tracks.empty() ? "; 'fmp4 info' shows what it has" : " that can be read: " + trackTexts(tracks);
}

}  // namespace fmp4
