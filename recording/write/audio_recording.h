// Records audio into a file of its own.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "recording/write/recorded_file.h"
#include "recording/write/sample_run.h"
#include "recording/write/settings.h"

namespace fmp4 {

class AudioRecording {
 public:
  // Creates the file; to be called first. False when that fails.
  bool create(const std::string& path);
  RecordedFile& file() { return file_; }

  bool started() const { return started_; }
  // Writes the initialisation part and begins the playlist and the audio part of the manifest (null: none),
  // which its owner saves. `rate` and `geometry` determine the duration of a fragment. False when the file
  // cannot be written.
  bool start(const AudioSettings& audio, const SegmentGeometry& geometry, const FrameRate& rate,
             MpdWriter* manifest);

  // Takes one access unit. Returns a status.
  std::uint32_t write(std::span<const std::uint8_t> frame);
  // Writes the waiting access units and ends playlist and file. False when something could not be written.
  bool finish();

 private:
  bool emitFragment(std::uint32_t frames, std::uint32_t duration);
  std::uint32_t emitReadyFragments();
  bool cutLast();

  RecordedFile file_;
  bool started_ = false;
  AudioSettings audio_;
  std::uint32_t framesPerFragment_ = 0;  // access units
  SampleRun run_;
  std::uint64_t position_ = 0;  // samples written
};

}  // namespace fmp4
