// Reading a fragmented MP4 file and the audio file beside it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mp4box/box.h"
#include "plugin/audio_track.h"
#include "plugin/host_view.h"
#include "plugin/pcm_format.h"
#include "plugin/rates.h"
#include "streaming/index/audio_track_slots.h"
#include "streaming/index/caption_reader.h"
#include "streaming/index/fragment_index.h"
#include "streaming/index/track_cursor.h"
#include "streaming/index/track_defaults.h"
#include "streaming/lists/manifest_reader.h"

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
  // MF_OPEN_*. Called once, before all else; if it fails, only destruction may follow. completeDescription
  // ends a successful open.
  [[nodiscard]] std::uint32_t open(const char* fileName, std::uint32_t openFlags);
  // The handle of the open file, which the source owns.
  VLHANDLE handle() const { return m_handle; }
  // The path of the audio file that belongs beside the open one; empty if there is none.
  const std::string& companionPath() const { return m_companionPath; }
  // Takes the audio from an object that has opened companionPath(), and describes it as this file's.
  void join(std::unique_ptr<CMFFmp4> companion);
  // Describes lengths, and all values derived from them.
  void completeDescription();

  // The object that reads the audio file beside this one; null if there is none. Owned by the source.
  CMFFmp4* companion() const { return m_companion.get(); }

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
  bool hasVideo() const { return m_tracks[kVideoTrack].present(); }

  // source_open.cpp
  std::uint32_t openFile(const char* path, bool readAll);
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
  std::uint32_t describeTracks(const std::optional<Manifest>& manifest);
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
  void seekCaptions(std::uint32_t frame, bool jumped);
  void seekCc608(std::uint32_t frame);
  void deliverCc608(DFRAME& descriptor, std::uint32_t frame);
  std::uint32_t deliverCc708(DFRAME& descriptor);
  void takeCc708Sample(DFRAME& descriptor);

  // In the reverse order of destruction: each member may use those above it.
  HostView m_host;
  std::uint32_t m_openFlags = 0;
  FrameRate m_nominalRate;  // from the tracks; the described rate is snapped from it
  Mp4Stream m_stream;
  VLHANDLE m_handle = VL_NO_HANDLE;
  Mp4BoxPtr m_root;
  std::array<IndexedTrack, kTrackRoles> m_tracks;
  std::optional<FragmentIndex> m_index;
  TrackCursor m_videoCursor;
  std::uint32_t m_videoNextExpected = QVR_NOT_SET;  // the frame after the last request
  Cc608Reader m_cc608;
  std::uint32_t m_cc608SeekFrame = QVR_NOT_SET;  // the frame of m_cc608's last seek
  TrackCursor m_cc708Cursor;
  std::array<VL_Audio_Decode, kAudioTrackSlots> m_decoders;  // one per audio track, in order
  std::vector<std::unique_ptr<AudioTrack>> m_audioTracks;
  std::string m_companionPath;
  std::unique_ptr<CMFFmp4> m_companion;
};
