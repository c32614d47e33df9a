// Records video, with its captions and, unless it has a file of its own, its audio.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "mp4box/boxes/avcC.h"
#include "mp4box/movie.h"
#include "qvr.h"
#include "recording/write/recorded_file.h"
#include "recording/write/sample_run.h"
#include "recording/write/settings.h"

namespace fmp4 {

class VideoRecording {
 public:
  // Creates the file; to be called first. False when that fails.
  bool create(const std::string& path);
  RecordedFile& file() { return file_; }

  bool started() const { return started_; }
  // Writes the initialisation part and begins playlist and manifest (null: none), the latter with an entry
  // for audio in a file of its own. False when the file cannot be written.
  bool start(const VideoSettings& settings, MpdWriter* manifest, bool separateAudio);

  // Takes the frame of a descriptor, with its captions. Returns a status.
  std::uint32_t writeVideo(const DFRAME& frame);
  // Whether this file has an audio track.
  bool hasAudio() const { return settings_.audio.has_value(); }
  // Takes one access unit. Returns a status.
  std::uint32_t writeAudio(std::span<const std::uint8_t> frame);

  // Frames taken so far.
  std::uint64_t frames() const { return frames_; }

  // Writes what still waits and ends playlist and file. False when something could not be written.
  bool finish();

 private:
  mp4::AVCConfigurationBox avcConfiguration() const;
  mp4::Movie movie() const;
  std::uint64_t segmentFrames() const;
  SegmentSettings segments() const;
  void startPlaylist();
  void startManifest(bool separateAudio);

  bool takes(std::uint64_t moreBytes) const;
  bool reserveCaptions();
  void appendCaptions(const DFRAME& frame);

  std::uint32_t audioExpected(std::uint32_t moreFrames) const;
  std::uint32_t emitReadyFragments();
  std::uint32_t cutAllThatAre();
  bool emitFragment(std::uint32_t frames, std::uint32_t audioFrames);
  std::span<const std::uint8_t> takeCc608(std::uint32_t frames, mp4::TrackFragment& track);
  bool finishSegment(std::uint64_t endFrame);
  void saveManifest(std::uint64_t frames, os::Durability durability);

  RecordedFile file_;
  bool started_ = false;
  VideoSettings settings_;
  mp4::TrackSet tracks_;
  MpdWriter* manifest_ = nullptr;
  bool manifestSaved_ = false;

  SampleRun video_;
  SampleRun audio_;
  SampleRun cc708_;
  std::vector<std::uint8_t> cc608_;        // a byte pair for each waiting frame
  std::vector<std::uint8_t> cc608Sample_;  // that of the fragment being emitted
  std::uint64_t frames_ = 0;
  std::uint64_t framesWritten_ = 0;
  std::uint64_t audioFramesWritten_ = 0;
};

}  // namespace fmp4
