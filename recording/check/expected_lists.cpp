// The manifest and the playlists that a complete recording has.
#include <algorithm>
#include <filesystem>

#include "base/audio_units.h"
#include "os/path_name.h"
#include "recording/check/existing_lists.h"
#include "recording/check/recording.h"
#include "recording/date_time.h"
#include "recording/segment_geometry.h"
#include "streaming/lists/master_playlist.h"
#include "streaming/lists/playlist_text.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

// One media file as manifest and playlists see it.
struct Listed {
  const RecordedMedia& media;
  double rate = 0;                  // frames or samples a second
  std::uint64_t segmentLength = 0;  // frames or samples
};

// What the existing manifest and playlist of a media file say of its full segments.
struct PreviousSegment {
  std::optional<std::uint64_t> positions;       // frames or samples, by the manifest
  std::optional<std::uint32_t> targetDuration;  // by the playlist, seconds
};

// Frames or samples of a full segment. The only fragment of a file may be a short one, and a file without
// fragments says nothing: the existing manifest and playlist are then asked.
std::uint64_t segmentLength(const RecordedMedia& media, double rate, std::uint64_t positionsPerFrame,
                            const PreviousSegment& previous) {
  const std::uint64_t fragments = media.fragmentsPerSegment();
  if (const std::uint64_t frames = media.framesPerFragment()) return frames * fragments * positionsPerFrame;
  if (previous.positions) return *previous.positions;
  const std::uint64_t has = media.fragments().empty() ? 0 : media.fragments().front().samples;
  if (previous.targetDuration && has == 0) return static_cast<std::uint64_t>(*previous.targetDuration * rate);
  const auto lengthOf = [&](std::uint64_t frames) { return frames * fragments * positionsPerFrame; };
  const auto fits = [&](std::uint64_t frames) {
    return !previous.targetDuration ||
           playlistTargetDuration(lengthOf(frames), rate) == *previous.targetDuration;
  };
  for (std::uint64_t frames = kMaxFramesPerFragment; !fits(has) && frames > has; --frames) {
    if (fits(frames)) return lengthOf(frames);
  }
  return lengthOf(has);
}

std::string playlistOf(const Listed& listed, const std::string& startTime) {
  const RecordedMedia& media = listed.media;
  const PlaylistSettings settings{media.name(), listed.rate, listed.segmentLength,
                                  media.initialisationLength(), startTime};
  std::string text = playlistHeader(settings);
  for (const RecordedMedia::Segment& segment : media.segments())
    text += playlistEntry(settings, media.positions(segment), segment.start, media.endOffset(segment));
  return text + kPlaylistEnd;
}

MpdSegments segmentsOf(const Listed& listed, std::uint64_t ticksAPosition) {
  return {listed.media.name(), listed.media.movie()->indexedTrack().timescale,
          listed.segmentLength * ticksAPosition, listed.media.initialisationLength() - 1};
}

void addSegments(MpdWriter& manifest, MpdWriter::List list, const RecordedMedia& media) {
  for (const RecordedMedia::Segment& segment : media.segments())
    manifest.AddSegment(list, segment.start, media.endOffset(segment), segment.indexEnd);
}

// Bytes a second of the audio present.
std::uint32_t byteRateOf(const RecordedMedia& audio) {
  const std::uint64_t rate = audio.movie()->indexedTrack().timescale;
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(scaleExactly(audio.audioBytes(), rate, audio.positions()), 0xFFFFFFFFu));
}

std::string manifestOf(const Listed& video, const std::optional<Listed>& audio, bool placesAudio,
                       const std::optional<PreviousManifest>& previous, const std::string& startTime) {
  const RecordedMovie& movie = *video.media.movie();
  mp4::AVCConfigurationBox avcC;
  avcC.record = movie.avcRecord;
  MpdVideo listed;
  listed.profile = avcC.profileIndication();
  listed.level = avcC.levelIndication();
  listed.width = movie.width;
  listed.height = movie.height;
  listed.rate = movie.frameRate();
  if (const auto& listedAudio = movie.tracks[TrackKind::Audio])
    listed.audio = {movie.audioObjectType, listedAudio->timescale};
  listed.segments = segmentsOf(video, movie.indexedTrack().defaultSampleDuration);
  listed.startTime = startTime;
  MpdWriter manifest("");
  addSegments(manifest, manifest.beginVideo(listed, placesAudio), video.media);
  if (audio) {
    const MpdAudio listedAudio{
        audio->media.movie()->audioObjectType,
        previous && previous->audioByteRate ? *previous->audioByteRate : byteRateOf(audio->media),
        segmentsOf(*audio, 1)};
    addSegments(manifest, manifest.beginAudio(listedAudio), audio->media);
  }
  manifest.setDuration(video.media.positions());
  return manifest.text();
}

std::string masterOf(const Recording& recording, const Recording::Lists& lists) {
  const RecordedMovie& movie = *recording.video()->movie();
  const RecordedMedia* const audio = recording.audio();
  MasterPlaylist master;
  master.video = {fileNameOf(recording.paths().videoPlaylist), lists.videoPlaylist};
  if (audio) master.audio = {fileNameOf(recording.paths().audioPlaylist), lists.audioPlaylist};
  master.codecs = codecsText(movie.avcRecord, audio ? audio->movie()->audioConfig : movie.audioConfig);
  master.width = movie.width;
  master.height = movie.height;
  master.framesPerSecond = movie.frameRate().value();
  return masterPlaylistText(master);
}

// The first that has a value.
std::string firstOf(std::initializer_list<std::string> texts) {
  return *std::find_if(texts.begin(), texts.end(), [](const std::string& text) { return !text.empty(); });
}

}  // namespace

Recording::Lists Recording::lists() const {
  Lists lists;
  const std::string now = dateTimeNow();
  std::optional<PreviousManifest> manifest;
  std::optional<PreviousPlaylist> videoList, audioList;
  if (video()) {
    manifest = readPreviousManifest(paths_.manifest, video()->initialisationLength());
    videoList = readPreviousPlaylist(paths_.videoPlaylist, video()->name(), video()->initialisationLength());
  }
  if (audio())
    audioList = readPreviousPlaylist(paths_.audioPlaylist, audio()->name(), audio()->initialisationLength());
  const std::string manifestTime = manifest ? manifest->startTime : "";
  const std::string videoTime = videoList ? videoList->startTime : "";
  const std::string audioTime = audioList ? audioList->startTime : "";

  std::optional<Listed> listedAudio;
  if (audio()) {
    const double rate = audio()->movie()->indexedTrack().timescale;
    const PreviousSegment previous{manifest ? manifest->audioSegmentTicks : std::nullopt,
                                   audioList ? audioList->targetDuration : std::nullopt};
    listedAudio.emplace(Listed{*audio(), rate, segmentLength(*audio(), rate, kAacFrameSamples, previous)});
    lists.audioPlaylist = playlistOf(*listedAudio, firstOf({audioTime, manifestTime, videoTime, now}));
  }
  if (!video()) return lists;
  const double rate = video()->movie()->frameRate().value();
  const std::uint32_t frameTicks = video()->movie()->indexedTrack().defaultSampleDuration;
  PreviousSegment previous{std::nullopt, videoList ? videoList->targetDuration : std::nullopt};
  if (manifest && manifest->videoSegmentTicks) previous.positions = *manifest->videoSegmentTicks / frameTicks;
  const Listed listedVideo{*video(), rate, segmentLength(*video(), rate, 1, previous)};
  lists.videoPlaylist = playlistOf(listedVideo, firstOf({videoTime, manifestTime, now}));
  const bool placesAudio = manifest ? manifest->placesAudio : audio_ != nullptr;
  lists.manifest =
      manifestOf(listedVideo, listedAudio, placesAudio, manifest, firstOf({manifestTime, videoTime, now}));
  std::error_code ignored;
  if (std::filesystem::exists(vlPath(paths_.masterPlaylist), ignored))
    lists.masterPlaylist = masterOf(*this, lists);
  return lists;
}

}  // namespace fmp4
