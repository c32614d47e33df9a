// The DASH manifest (ISO/IEC 23009-1, on-demand profile) of a recording: one segment list a media file, kept
// up to date while the recording grows.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <optional>
#include <string>

#include "frame_rate.h"

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

class MpdWriter {
 public:
  // A segment list of the manifest, which owns it.
  using List = tinyxml2::XMLElement*;

  // Nothing is written before Save().
  explicit MpdWriter(std::string path) : path_(std::move(path)) {}

  // Begins the manifest with the video file; `separateAudio` leaves a place for an audio file's set. Once.
  List BeginVideo(const MpdVideo& video, bool separateAudio);
  // The audio file's part, after BeginVideo() with a place for it.
  List BeginAudio(const MpdAudio& audio);
  // Adds the segment [start, end) of the list's media file, whose index ends ahead of `indexEnd`.
  void AddSegment(List list, std::uint64_t start, std::uint64_t end, std::uint64_t indexEnd);

  // So long is what has been written.
  void SetDuration(std::uint64_t frames);
  // The manifest as it stands.
  std::string Text() const;
  // Puts the manifest in its place on the disk in one step. A failure is nobody's affair: the one saved
  // before then stays.
  void Save() const;

 private:
  List beginSegmentList(tinyxml2::XMLElement* representation, const MpdSegments& segments);

  std::string path_;
  tinyxml2::XMLDocument document_;
  tinyxml2::XMLElement* mpd_ = nullptr;
  tinyxml2::XMLElement* audioSet_ = nullptr;
  FrameRate rate_;
};
