// Reading a fragmented MP4 file and the audio file beside it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mp4box/top_level_reader.h"
#include "plugin/audio_track.h"
#include "plugin/host_view.h"
#include "plugin/pcm_format.h"
#include "plugin/rates.h"
#include "streaming/index/audio_track_slots.h"
#include "streaming/index/caption_reader.h"
#include "streaming/index/fragment_index.h"
#include "streaming/index/track_cursor.h"
#include "streaming/index/track_defaults.h"
#include "streaming/lists/file_set.h"
#include "streaming/lists/manifest_reader.h"

namespace fmp4 {

class CMFFmp4;

// An open file: its box tree, its fragment index, and the reading position of each track. Destroying it
// closes the file, the decoders and the companion.
//
// Statuses are those of the media-file interface; the reason of a failure has then been reported. Where
// memory runs out, operations throw std::bad_alloc, and the source can still be destroyed; after a failed
// read it can also be read on.
class Source {
 public:
  // `host` receives the descriptions and stream holders of what is opened; what it refers to outlives the
  // source.
  explicit Source(HostView host);
  ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  // Opens the file of this name, or of the manifest of this name, and describes its tracks. `openFlags` are
  // MF_OPEN_*; `lastManifest` is used for the call alone, and then holds the file's manifest if it has one.
  // Called once, before all else; if it fails, only destruction may follow. completeDescription ends a
  // successful open.
  [[nodiscard]] std::uint32_t open(const char* fileName, std::uint32_t openFlags, LastManifest& lastManifest);
  // The handle of the open file, which the source owns.
  VLHANDLE handle() const { return handle_; }
  // The path of the audio file that belongs beside the open one; empty if there is none.
  const std::string& companionPath() const { return companionPath_; }
  // Takes the audio from an object that has opened companionPath(), and describes it as this file's.
  void join(std::unique_ptr<CMFFmp4> companion);
  // Describes lengths, and all values derived from them.
  void completeDescription();
  // After that: fails if the host could not read the file throughout, or memory was short, so that the
  // source would present less than the file has.
  [[nodiscard]] std::uint32_t checkComplete();

  // The object that reads the audio file beside this one; null if there is none. Owned by the source.
  CMFFmp4* companion() const { return companion_.get(); }

  // Reads video frame `frame` with its captions into `descriptor`; the host's next request is expected
  // `count` frames later. A `mode` with QVR_MODE_HEADER_ONLY describes the frame and leaves the position.
  // Without a descriptor, returns the bytes of the largest frame, 0 past the end; otherwise a status.
  std::uint32_t readVideo(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                          std::uint32_t mode, DFRAME* descriptor);
  // Reads PCM frames [frame, frame + count) of the track that holds the first channel of the mask;
  // QVR_NOT_SET continues from the last request. Without a descriptor, returns the bytes of a buffer for one
  // video frame's duration; otherwise a status. `mode` and `extra` are the host's, for the companion.
  std::uint32_t readAudio(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                          std::uint32_t mode, DFRAME* descriptor, void* extra);
  // Answers a request for audio where there is none: nothing delivered (`descriptor` may be null). Returns
  // FMP4_E_NO_AUDIO after reporting it.
  static std::uint32_t refuseAudio(DFRAME* descriptor);
  // The key frame at or after `frame` if `forward`, otherwise at or before it; `frame` if there is none or it
  // cannot be found. The next read seeks.
  std::uint32_t findKeyFrame(std::uint32_t frame, bool forward);

 private:
  bool hasVideo() const { return tracks_[kVideoTrack].present(); }

  // source_open.cpp
  std::uint32_t openFile(const char* path);
  std::uint32_t positionReaders();

  // source_tracks.cpp: derives tracks, stream records and the nominal frame rate from the movie box.
  std::uint32_t setUpTracks();
  std::uint32_t setUpTrack(Mp4Box* trak, std::uint32_t ordinal, const TrackDefaults& defaults);
  std::uint32_t setUpVideo(const Mp4Box* sampleEntry, const IndexedTrack& track);
  void setUpAudio(Mp4Box* sampleEntry, const IndexedTrack& track);
  QVRAUDIO describeAudio(std::uint32_t codec, const PcmFormat& format) const;
  std::uint32_t takeCodecConfiguration(const Mp4Box* sampleEntry);
  std::uint32_t addChannels(std::uint32_t count);
  std::uint32_t nominalDuration(const IndexedTrack& track);

  // source_describe.cpp
  std::uint32_t describeTracks(const Manifest* manifest);
  bool describeFrameRate();
  std::uint32_t audioLength(std::uint64_t stated) const;

  // source_video.cpp
  void setTimecodes(DFRAME& descriptor, std::uint32_t frame) const;
  std::uint32_t describeSample(DFRAME& descriptor);
  std::uint32_t deliverSample(DFRAME& descriptor);

  // source_audio.cpp
  AudioTrack* audioTrackOf(std::uint32_t channel);
  std::uint32_t deliverAudio(AudioTrack& track, std::uint32_t frame, std::uint32_t count,
                             std::uint64_t wanted, DFRAME& descriptor);

  // source_captions.cpp
  // They fail only for captions that are left unread (leftUnread): a frame may have none.
  std::uint32_t seekCaptions(std::uint32_t frame, bool jumped);
  std::uint32_t seekCc608(std::uint32_t frame);
  std::uint32_t deliverCc608(DFRAME& descriptor, std::uint32_t frame);
  std::uint32_t deliverCc708(DFRAME& descriptor);
  std::uint32_t takeCc708Sample(DFRAME& descriptor);

  // In the reverse order of destruction: each member may use those above it.
  HostView host_;
  std::uint32_t openFlags_ = 0;
  FrameRate nominalRate_;  // from the tracks; the described rate is snapped from it
  Mp4Stream stream_;
  VLHANDLE handle_ = VL_NO_HANDLE;
  std::unique_ptr<Mp4TopLevelReader> file_;
  std::array<IndexedTrack, kTrackRoles> tracks_;
  std::optional<FragmentIndex> index_;
  TrackCursor videoCursor_;
  std::uint32_t videoNextExpected_ = QVR_NOT_SET;  // the frame after the last request
  Cc608Reader cc608_;
  std::uint32_t cc608SeekFrame_ = QVR_NOT_SET;  // the frame of cc608_'s last seek
  TrackCursor cc708Cursor_;
  std::array<VL_Audio_Decode, kAudioTrackSlots> decoders_;  // one per audio track, in order
  std::vector<std::unique_ptr<AudioTrack>> audioTracks_;
  std::string companionPath_;
  std::unique_ptr<CMFFmp4> companion_;
};

}  // namespace fmp4
