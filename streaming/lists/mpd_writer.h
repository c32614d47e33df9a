// Writes the DASH manifest (ISO/IEC 23009-1, on-demand profile) of a recording: one segment list per media
// file, updated while the recording grows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/exact_time.h"
#include "os/replace_file.h"

namespace fmp4 {

// A duration in frames as text: "PT1H2M3.45S".
std::string durationText(std::uint64_t frames, const FrameRate& rate);

// The properties common to the segment lists of all media files.
struct MpdSegments {
  std::string mediaName;                // name and extension of the media file
  std::uint32_t timescale = 0;          // ticks per second
  std::uint64_t duration = 0;           // ticks, full segment
  std::uint64_t initialisationEnd = 0;  // file offset of the last byte of the initialisation segment
};

struct MpdVideo {
  std::uint8_t profile = 0;  // AVCProfileIndication
  std::uint8_t level = 0;    // AVCLevelIndication
  std::uint32_t width = 0;   // pixels
  std::uint32_t height = 0;
  FrameRate rate;
  // Audio in the same file: its object type byte and sample rate.
  struct Audio {
    std::uint8_t objectType = 0;
    std::uint32_t sampleRate = 0;
  };
  std::optional<Audio> audio;
  MpdSegments segments;
  std::string startTime;  // start of the recording, ISO 8601
};

struct MpdAudio {
  std::uint8_t objectType = 0;
  std::uint32_t byteRate = 0;  // bytes per second
  MpdSegments segments;        // the timescale is the sample rate
};

// The manifest is stored as text, in pieces: adding a segment costs one line, saving costs the size of the
// text.
//
// If memory runs out (std::bad_alloc), nothing changes. A list that was not started completely accepts no
// segments; a manifest that was not started completely accepts nothing at all and is not saved.
class MpdWriter {
 public:
  // The segment list of a media file.
  enum class List { Video, Audio };

  // Nothing is written before save().
  explicit MpdWriter(std::string path) : path_(std::move(path)) {}

  // Starts the manifest with the video file; `separateAudio` reserves space for an audio file's adaptation
  // set. Call once.
  List beginVideo(const MpdVideo& video, bool separateAudio);
  // Starts the audio file's part; requires beginVideo() with `separateAudio`.
  List beginAudio(const MpdAudio& audio);

  // Reserves memory for one more segment in `list`, so that adding it cannot fail.
  void reserveSegment(List list);
  // Adds the segment [start, end) of the list's media file; the segment's index ends before `indexEnd`.
  void AddSegment(List list, std::uint64_t start, std::uint64_t end, std::uint64_t indexEnd);

  // Sets the duration of the presentation, in frames.
  void setDuration(std::uint64_t frames);
  // The current text of the manifest.
  std::string text() const;
  // Replaces the manifest file atomically. Returns false on failure; the previously saved file then remains.
  bool save(os::Durability durability) const;

 private:
  // The boundaries between the pieces of text: at the value of the duration, and at each list.
  enum Piece : std::size_t { Start, Duration, Video, VideoSegments, Audio, AudioSegments, End, Count };
  using Pieces = std::array<std::string_view, Count>;

  std::string* segmentsOf(List list);
  Pieces pieces() const;

  std::string path_;
  FrameRate rate_;
  bool hasVideo_ = false;
  bool hasAudio_ = false;
  std::array<std::string, Count> text_;
};

}  // namespace fmp4
