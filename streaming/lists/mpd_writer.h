// The DASH manifest (ISO/IEC 23009-1, on-demand profile) of a recording: one segment list a media file, kept
// up to date while the recording grows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/exact_time.h"
#include "os/replace_file.h"

// "PT1H2M3.45S" of so many frames.
std::string DurationText(std::uint64_t frames, const FrameRate& rate);

// What the segment lists of all media files have in common.
struct MpdSegments {
  std::string mediaName;                // name and extension of the media file
  std::uint32_t timescale = 0;          // ticks a second
  std::uint64_t duration = 0;           // ticks of a full segment
  std::uint64_t initialisationEnd = 0;  // file offset of the initialisation part's last byte
};

struct MpdVideo {
  std::uint8_t profile = 0;  // AVCProfileIndication
  std::uint8_t level = 0;    // AVCLevelIndication
  std::uint32_t width = 0;   // pixels
  std::uint32_t height = 0;
  FrameRate rate;
  // Sound in the same file: its object type byte and sample rate.
  struct Sound {
    std::uint8_t objectType = 0;
    std::uint32_t sampleRate = 0;
  };
  std::optional<Sound> sound;
  MpdSegments segments;
  std::string startTime;  // when the recording began: ISO 8601
};

struct MpdAudio {
  std::uint8_t objectType = 0;
  std::uint32_t byteRate = 0;  // bytes a second
  MpdSegments segments;        // the timescale is the sample rate
};

// The manifest is kept as its text, in pieces: a segment costs its line, and saving the bytes that there are.
//
// Where memory runs out (std::bad_alloc), nothing has changed. A list that was not begun to its end takes no
// segments; a manifest that was not takes nothing at all, and is not saved.
class MpdWriter {
 public:
  // The segment list of a media file.
  enum class List { Video, Audio };

  // Nothing is written before Save().
  explicit MpdWriter(std::string path) : path_(std::move(path)) {}

  // Begins the manifest with the video file; `separateAudio` leaves a place for an audio file's set. Once.
  List BeginVideo(const MpdVideo& video, bool separateAudio);
  // The audio file's part, after BeginVideo() with a place for it.
  List BeginAudio(const MpdAudio& audio);

  // Makes room for one more segment in `list`, so that adding it cannot fail.
  void ReserveSegment(List list);
  // Adds the segment [start, end) of the list's media file, whose index ends before `indexEnd`.
  void AddSegment(List list, std::uint64_t start, std::uint64_t end, std::uint64_t indexEnd);

  // So long is what has been written.
  void SetDuration(std::uint64_t frames);
  // The manifest as it stands.
  std::string Text() const;
  // Replaces the file of the manifest in one step. False where that failed: the file saved before stays.
  bool Save(os::Durability durability) const;

 private:
  // Where the text goes on from one piece to the next: at the value of the duration, and at each list.
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
