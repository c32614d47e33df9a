// The samples of one track of a file, as stored: what the plug-in decodes is delivered as PCM alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
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
  // A file that cannot be read has no tracks.
  explicit TrackUnits(const std::string& path);

  // Chooses a track before its samples are read: the first of one of these codecs, by the type of the sample
  // entry, or the one at a place among those of the movie box, from 0. Returns whether there is one.
  bool choose(std::initializer_list<std::uint32_t> codecs);
  bool chooseAt(std::size_t place);

  // The chosen track; null when there is none.
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
  std::size_t place_ = std::numeric_limits<std::size_t>::max();
  std::size_t nextSample_ = 0;  // index in the fragment
  SourceSample sample_;
  bool damaged_ = false;

  // Samples that follow each other in the file.
  std::vector<std::uint8_t> window_;
  std::uint64_t windowOffset_ = 0;
};

}  // namespace fmp4
