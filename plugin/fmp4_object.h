// The media-file object: one fragmented MP4 presentation, read or written through the host's interface.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mediafile.h"
#include "mp4box/box.h"
#include "plugin/audio_track.h"
#include "recording/write/audio_recording.h"
#include "recording/write/video_recording.h"
#include "streaming/index/audio_track_slots.h"
#include "streaming/index/caption_reader.h"
#include "streaming/index/fragment_index.h"
#include "streaming/index/track_cursor.h"
#include "streaming/index/track_defaults.h"
#include "streaming/lists/manifest_reader.h"
#include "streaming/lists/mpd_writer.h"

// The file-type code of the format record, also reported by the object and its descriptions.
inline constexpr std::uint32_t kFileTypeCode = 147;

// Frames per second until set by a source or the host, and for audio without video.
inline constexpr FrameRate kDefaultFrameRate{30000, 1001};

// Frames per key frame interval until set by the host.
inline constexpr std::uint32_t kDefaultKeyFrameInterval = 1;

class CMFFmp4 : public CAMediaFile {
 public:
  // `fileType` is passed to the base; the object reports kFileTypeCode.
  explicit CMFFmp4(std::uint32_t fileType);
  // Closes an open file.
  ~CMFFmp4() override;

  std::uint32_t Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                     std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags) override;
  std::uint32_t Close() override;
  // The audio description is that of the file containing the audio.
  std::uint32_t GetFileInfo(std::uint32_t channelMask, QVRSYSTEM* system, QVRVIDEO* video, QVRAUDIO* audio,
                            QVRINFO* info) override;
  // Describes what a recording will contain; fixed by the first sample. An object opened for reading reports
  // this description from then on, with 0 frames once its video is described; its reads do not change.
  std::uint32_t SetFileInfo(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                            const QVRAUDIO* audio, const QVRINFO* info) override;
  std::uint32_t SetSysInfo(const QVRSYSTEM* system, const QVRVIDEO* video, const QVRAUDIO* audio) override;
  // Adds one video frame or one audio access unit to a recording, in call order.
  std::uint32_t Write(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask, std::uint32_t mode,
                      DFRAME* descriptor, void* extra) override;
  std::uint32_t Read(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask, std::uint32_t mode,
                     DFRAME* descriptor, void* extra) override;
  // Returns 1 for any capability.
  std::uint32_t QueryCapability(std::uint32_t capability) override;
  std::uint32_t GetTotalFrames() override;
  std::uint32_t FindKeyFrame(std::uint32_t channelMask, std::int8_t directionMode, std::uint32_t frame,
                             std::int32_t direction) override;
  std::uint32_t EnumCodecs(std::int32_t stream, std::int32_t index, char* shortCode, char* name,
                           std::uint32_t* flags, std::uint32_t* extra) override;
  std::uint32_t SetCodecOption(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                               std::uint32_t value, const CODEC_DESCRIPTION* description) override;

  // For queries at the entry points; the base keeps both protected.
  std::uint32_t openFlags() const { return m_GetOpenFlags(); }
  const char* fileName() const { return m_fileName; }

 private:
  // source_describe.cpp: the descriptions for the host.
  void resetDescription();
  void recomputeMainHeader();
  bool describeFrameRate();
  std::uint32_t soundLength(std::uint64_t stated) const;
  std::uint32_t countStreams(std::uint32_t kind) const;
  void completeDescription();

  // source_open.cpp
  std::uint32_t openRead();
  std::uint32_t openSource(const char* path, bool readAll);
  std::uint32_t describeTracks(const std::optional<Manifest>& manifest);
  std::unique_ptr<CMFFmp4> openAudioFile(const std::string& path) const;
  void openCompanion(const std::string& path);
  std::uint32_t positionReaders();

  // source_tracks.cpp: derives tracks, stream records and the nominal frame rate from the movie box.
  std::uint32_t setUpTracks();
  std::uint32_t setUpTrack(Mp4Box* trak, std::uint32_t ordinal, const TrackDefaults& defaults);
  std::uint32_t setUpVideo(const Mp4Box* sampleEntry, const IndexedTrack& track);
  void setUpAudio(Mp4Box* sampleEntry, const IndexedTrack& track);
  std::uint32_t takeCodecConfiguration(const Mp4Box* sampleEntry);
  std::uint32_t addChannels(std::uint32_t count);
  std::uint32_t nominalDuration(const IndexedTrack& track);

  // source_audio.cpp
  AudioTrack* audioTrackOf(std::uint32_t channel);
  std::uint32_t readAudio(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                          std::uint32_t mode, DFRAME* descriptor, void* extra);
  std::uint32_t deliverAudio(AudioTrack& track, std::uint32_t frame, std::uint32_t count,
                             std::uint64_t wanted, DFRAME& descriptor);

  // source_video.cpp
  std::uint32_t readVideo(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                          std::uint32_t mode, DFRAME* descriptor);
  void setTimecodes(DFRAME& descriptor, std::uint32_t frame) const;
  std::uint32_t describeSample(DFRAME& descriptor);
  std::uint32_t deliverSample(DFRAME& descriptor);

  // source_captions.cpp
  void seekCaptions(std::uint32_t frame, bool jumped);
  void seekCc608(std::uint32_t frame);
  void deliverCc608(DFRAME& descriptor, std::uint32_t frame);
  std::uint32_t deliverCc708(DFRAME& descriptor);
  void takeCc708Sample(DFRAME& descriptor);

  // recorder_open.cpp
  std::uint32_t openWrite();

  // set_file_info.cpp
  std::uint32_t takeDescriptions(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                                 const QVRAUDIO* audio, const QVRINFO* info);
  template <class Wanted>
  QVRSTREAM* findHolder(Wanted wanted) const;
  void takeInformation(const QVRINFO& info);
  const char* videoRefusal() const;
  static const char* audioRefusal(const QVRAUDIO& audio);
  std::uint32_t takeVideo();
  void takeVideoSizes();
  void takeAudio(std::uint32_t channelMask);
  void addAudioHolder(std::uint32_t pair);
  void describeToCompanion();

  // recorder_write.cpp
  std::uint32_t writeVideo(std::uint32_t frame, std::uint32_t channelMask, const DFRAME* descriptor);
  std::uint32_t writeAudio(std::uint32_t channelMask, const DFRAME* descriptor);
  std::uint32_t startVideoRecording();
  std::uint32_t startAudioRecording();
  VideoSettings videoSettings() const;
  AudioSettings audioSettings() const;
  bool isCodedWithFirstPair(std::uint32_t channelMask) const;

  // close.cpp
  bool finishRecording();

  bool hasVideo() const { return m_tracks[kVideoTrack].present(); }

  // Nominal frame rate from the tracks of the source; the described rate is snapped from it.
  FrameRate m_nominalRate = kDefaultFrameRate;
  // Codec option 8: key frame interval in frames when writing.
  std::uint32_t m_keyFrameInterval = kDefaultKeyFrameInterval;

  std::unique_ptr<Mp4Stream> m_stream;
  Mp4BoxPtr m_root;
  std::array<IndexedTrack, kTrackRoles> m_tracks;
  std::unique_ptr<FragmentIndex> m_index;
  TrackCursor m_videoCursor;
  std::uint32_t m_videoNextExpected = QVR_NOT_SET;  // the frame after the last request
  Cc608Reader m_cc608;
  std::uint32_t m_cc608SeekFrame = QVR_NOT_SET;  // the frame of m_cc608's last seek
  TrackCursor m_cc708Cursor;
  std::unique_ptr<CMFFmp4> m_companion;                      // reads or writes audio in a separate file
  std::array<VL_Audio_Decode, kAudioTrackSlots> m_decoders;  // one per audio track, in order
  std::vector<std::unique_ptr<AudioTrack>> m_audioTracks;

  // Recording.
  std::string m_videoPath;
  std::unique_ptr<MpdWriter> m_manifest;
  std::unique_ptr<VideoRecording> m_videoRecording;
  std::unique_ptr<AudioRecording> m_audioRecording;
  // In a companion's recording: the owner's geometry and manifest (null: none).
  std::optional<SegmentGeometry> m_ownersGeometry;
  MpdWriter* m_ownersManifest = nullptr;
};
