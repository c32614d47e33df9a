// The samples of one track of a file, as stored: what the plug-in decodes is delivered as PCM alone.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/host/movie_file.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

// Reads the file's fragments one after another, each once, and keeps one of them. Samples outside fragments
// are left out, as the plug-in leaves them out. Damage ends the track.
class TrackUnits {
 public:
  // Of the track at a place among the tracks of the file's movie box, from 0. Without such a track, or when
  // the file cannot be read, there are no samples.
  TrackUnits(const std::string& path, std::size_t place);

  // The track; null when there is none.
  const SourceTrack* track() const { return place_ < tracks_.size() ? &tracks_[place_] : nullptr; }

  // Moves to the next sample, the first at first. False at the end of the track.
  bool next();
  // Whether damage ended it.
  bool damaged() const { return damaged_; }

  // The current sample. Its bytes are read when they are asked for, and are valid until next(); nothing when
  // the file does not have all of them.
  const SourceSample& sample() const { return sample_; }
  std::optional<std::span<const std::uint8_t>> bytes();

  // How far the file has been read, and its size, in bytes.
  std::uint64_t position() const { return sample_.offset; }
  std::uint64_t fileSize() { return file_.root()->size; }

 private:
  void addFragment(Mp4Box* moof);
  // Goes on to the next fragment with samples of the track. Returns whether there is one.
  bool readOn();
  void fill();

  MovieFile file_;
  std::vector<SourceTrack> tracks_;  // with the samples of the fragment
  std::size_t place_;
  std::size_t nextSample_ = 0;  // index in the fragment
  SourceSample sample_;
  bool damaged_ = false;

  // Samples that follow each other in the file.
  std::vector<std::uint8_t> window_;
  std::uint64_t windowOffset_ = 0;
};

// The place of the audio track whose first channels the plug-in delivers; nothing when `path` has none that
// is read.
std::optional<std::size_t> firstAudioTrack(const std::string& path);

}  // namespace fmp4
