// Records the samples of a source through the plug-in.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/aac/audio_specific_config.h"
#include "streaming/lists/master_playlist.h"
#include "tool/host/plugin_host.h"
#include "tool/package/paced_times.h"
#include "tool/package/package_plan.h"
#include "tool/source/source_captions.h"
#include "tool/source/video_captions.h"

namespace fmp4 {

// Throws UserError when `source` has no video that can be recorded.
void checkVideo(SampleSource& source);

class Packager {
 public:
  using Warn = std::function<void(const std::string&)>;

  // Creates the recording. The samples that `source` has so far determine its settings; `frames` is the
  // maximum that it takes. Throws UserError when the recording cannot be created.
  Packager(const Plugin& plugin, SampleSource& source, const PackageOptions& options, const PackagePlan& plan,
           std::uint64_t frames, Warn warn);

  // Records everything, until `ended` returns true after a frame; `show` receives the number of frames done.
  // Throws UserError when something cannot be read or written; what came before it is recorded.
  void run(const std::function<void(std::uint64_t)>& show, const std::function<bool()>& ended);
  // Ends the recording.
  void finish();

  std::uint64_t frames() const { return frames_; }
  double framesPerSecond() const { return plan_.framesPerSecond(); }
  std::uint64_t accessUnits() const { return accessUnits_; }  // of audio, silent ones included
  bool recordsAudio() const { return audio_ != nullptr; }
  // Of the recorded video and audio, in seconds.
  double videoDuration() const { return static_cast<double>(frames_) / plan_.framesPerSecond(); }
  double audioDuration() const { return static_cast<double>(accessUnits_) * audioSeconds(); }
  // What is known for the master playlist, except the playlists that it joins.
  MasterPlaylist master() const;

 private:
  SourceTrack* findAudio();
  SourceTrack* findCaptions(std::uint32_t codec);
  std::optional<VideoCaptions> findVideoCaptions();
  bool videoHasCaptions();
  bool audioPlays(SourceTrack& track) const;
  bool isLeftOut(const SourceTrack& track, const SourceSample& sample) const;
  double audioSeconds() const;

  void describe();
  void describeVideo(QVRVIDEO& video) const;
  void describeAudio(QVRAUDIO& audio) const;

  void writeFrame(std::size_t index);
  void addCaptions(std::uint64_t frame);
  void writeAudioUpTo(double end, bool fill);
  void writeAccessUnit(std::span<std::uint8_t> bytes);
  void reportWhatWasLeftOut() const;

  SampleSource& source_;
  const PackageOptions& options_;
  const PackagePlan plan_;
  const std::uint64_t frameLimit_;
  Warn warn_;
  SourceTrack& video_;
  PacedTimes times_;
  UMC::aac::AudioSpecificConfig audioConfig_{};
  std::optional<std::vector<std::uint8_t>> silence_;  // an access unit of silence; nothing when unknown
  SourceTrack* audio_;                                // null: no audio is recorded
  SourceCaptions cc608_;
  SourceCaptions cc708_;
  std::optional<VideoCaptions> videoCaptions_;  // nothing: not recorded
  MediaFile file_;

  std::uint64_t frames_ = 0;       // written
  std::uint64_t accessUnits_ = 0;  // written, silent ones included
  bool followsSource_ = false;     // the last one came from the source
  double audioOffset_ = 0;         // seconds of gaps that could not be filled
  double leadingAudio_ = 0;        // seconds of audio before the video
  std::uint64_t overlaps_ = 0;     // access units that had no time left
  DFRAME descriptor_ = {};
};

}  // namespace fmp4
