// Recording into a fragmented MP4 file and the audio file beside it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/exact_time.h"
#include "plugin/host_view.h"
#include "plugin/rates.h"
#include "recording/write/audio_recording.h"
#include "recording/write/video_recording.h"
#include "streaming/lists/mpd_writer.h"

namespace fmp4 {

class CMFFmp4;

// What the host asks of a recording beside the descriptions; it may do so before it opens one.
struct RecordingOptions {
  FrameRate rate = kDefaultFrameRate;  // of the described video
  std::uint32_t keyFrameInterval = 1;  // frames; codec option 8
};

// A recording: a video file with its manifest, or an audio file. Destroying it closes the files and the
// companion.
//
// Statuses are those of the media-file interface; the reason of a failure has then been reported. Where
// memory runs out, operations throw std::bad_alloc, and the recorder can still be finished and destroyed.
class Recorder {
 public:
  // What `host` refers to and `options` outlive the recorder. Both are looked at when the first sample is
  // written.
  Recorder(HostView host, const RecordingOptions& options);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Each creates the files for a name as the host opens it, and removes what an earlier recording has left
  // under that name. Called once, before all else; if it fails, only finish and destruction may follow.
  [[nodiscard]] std::uint32_t createVideo(const std::string& name);
  [[nodiscard]] std::uint32_t createAudio(const std::string& name);
  // The handle of the created media file, which the recorder owns.
  VLHANDLE handle() const { return handle_; }

  // The path of the audio file that is still to be created beside the video; empty if there is none to be.
  std::string companionPath() const;
  // Puts the audio into an object that has created companionPath(); null: only the video is recorded.
  void join(std::unique_ptr<CMFFmp4> companion);
  // The object that records audio beside the video; null if there is none. Owned by the recorder.
  CMFFmp4* companion() const { return companion_.get(); }

  // Add one video frame, and one audio access unit for the channels of the mask. The first sample of any kind
  // fixes the recording's format. Return a status.
  std::uint32_t writeVideo(std::uint32_t frame, std::uint32_t channelMask, const DFRAME* descriptor);
  std::uint32_t writeAudio(std::uint32_t channelMask, const DFRAME* descriptor);

  // Writes what is left, and ends files and lists, those of the companion first. Called once, last. Returns
  // false if something could not be written.
  bool finish();

 private:
  // In a companion: what its owner's recording has fixed.
  struct Owner {
    SegmentGeometry geometry;
    FrameRate rate;
    MpdWriter* manifest;
  };

  std::uint32_t startVideoRecording();
  std::uint32_t startAudioRecording();
  VideoSettings videoSettings() const;
  AudioSettings audioSettings() const;
  bool isCodedWithFirstPair(std::uint32_t channelMask) const;

  // In the reverse order of destruction: each member may use those above it.
  HostView host_;
  const RecordingOptions& options_;
  VLHANDLE handle_ = VL_NO_HANDLE;
  std::string videoPath_;
  std::optional<Owner> owner_;
  std::unique_ptr<MpdWriter> manifest_;
  std::unique_ptr<AudioRecording> audioRecording_;
  std::unique_ptr<VideoRecording> videoRecording_;
  std::unique_ptr<CMFFmp4> companion_;
};

}  // namespace fmp4
