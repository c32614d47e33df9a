// The boxes of an initialisation segment, as records to initialise, modify and write.
#pragma once

#include <array>
#include <optional>
#include <variant>

#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/avcC.h"
#include "mp4box/boxes/caption_entry.h"
#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/mdhd.h"
#include "mp4box/boxes/mehd.h"
#include "mp4box/boxes/mvhd.h"
#include "mp4box/boxes/nmhd.h"
#include "mp4box/boxes/smhd.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/boxes/trex.h"
#include "mp4box/boxes/visual_entry.h"
#include "mp4box/boxes/vmhd.h"

namespace fmp4::mp4 {

// The tracks of the files written here. A file has at most one of each, in this order.
enum class TrackKind : std::uint8_t { Video, Audio, Captions608, Captions708 };

inline constexpr std::array kTrackKinds = {TrackKind::Video, TrackKind::Audio, TrackKind::Captions608,
                                           TrackKind::Captions708};

// One optional record per track.
template <class Record>
class PerTrack {
 public:
  std::optional<Record>& operator[](TrackKind kind) { return records_[static_cast<std::size_t>(kind)]; }
  const std::optional<Record>& operator[](TrackKind kind) const {
    return records_[static_cast<std::size_t>(kind)];
  }

 private:
  std::array<std::optional<Record>, kTrackKinds.size()> records_;
};

// Which tracks exist.
struct TrackSet {
  bool video = false;
  bool audio = false;
  bool captions608 = false;
  bool captions708 = false;

  constexpr bool has(TrackKind kind) const {
    switch (kind) {
      case TrackKind::Video:
        return video;
      case TrackKind::Audio:
        return audio;
      case TrackKind::Captions608:
        return captions608;
      default:
        return captions708;
    }
  }
};

// What differs between kinds of tracks: the media header and the sample entry.
struct VideoMedia {
  VideoMediaHeaderBox vmhd;
  VisualSampleEntry avc1;
  AVCConfigurationBox avcC;  // a default is written if it has no record
};
struct AudioMedia {
  SoundMediaHeaderBox smhd;
  AudioSampleEntry mp4a;
  ESDBox esds;  // written only if it holds a decoder configuration
};
struct CaptionMedia {
  NullMediaHeaderBox nmhd;
  std::uint32_t type = 0;  // "c608" or "c708"
  CaptionSampleEntry entry;
};

struct Track {
  TrackHeaderBox tkhd;
  MediaHeaderBox mdhd;
  HandlerBox hdlr;
  std::variant<VideoMedia, AudioMedia, CaptionMedia> media;
};

struct MovieExtends {
  std::optional<MovieExtendsHeaderBox> mehd;
  PerTrack<TrackExtendsBox> trex;
};

struct Movie {
  MovieHeaderBox mvhd;
  MovieExtends mvex;
  PerTrack<Track> tracks;
};

}  // namespace fmp4::mp4
