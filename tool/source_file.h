// The samples of a plain or fragmented MP4 file, in the order of their tracks (ISO/IEC 14496-12).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "nominal_duration.h"
#include "stream.h"

struct SourceSample {
  std::uint64_t offset = 0;  // of the first byte in the file
  std::uint32_t size = 0;    // bytes
  bool key = true;
  std::uint64_t decodeTime = 0;        // ticks of the track
  std::uint32_t duration = 0;          // ticks
  std::int64_t compositionOffset = 0;  // ticks
};

struct SourceTrack {
  std::uint32_t trackId = 0;
  std::uint32_t handler = 0;    // "vide", "soun", "clcp", ...
  std::uint32_t codec = 0;      // type of the sample entry
  std::uint32_t timescale = 0;  // ticks a second
  std::uint32_t width = 0;      // of video, pixels
  std::uint32_t height = 0;
  std::uint32_t channels = 0;               // of sound
  std::vector<std::uint8_t> configuration;  // AVC decoder configuration record, or AudioSpecificConfig
  std::uint8_t objectType = 0;              // of sound: objectTypeIndication
  NominalDuration nominalDuration;
  std::vector<SourceSample> samples;
};

class SourceFile {
 public:
  // Throws ToolError when the file cannot be opened or holds no movie box.
  explicit SourceFile(const std::string& path);

  const std::string& path() const { return path_; }
  const std::vector<SourceTrack>& tracks() const { return tracks_; }
  // The first track with samples of a kind, told by its handler or by the type of its sample entry; null when
  // there is none.
  const SourceTrack* findHandler(std::uint32_t handler) const;
  const SourceTrack* findCodec(std::uint32_t codec) const;

  // A sample's bytes, valid until the next read. Throws ToolError when the file does not hold them.
  std::span<std::uint8_t> read(const SourceSample& sample);

 private:
  std::string path_;
  Mp4Stream stream_;
  std::uint64_t size_ = 0;  // bytes
  std::vector<SourceTrack> tracks_;
  std::unique_ptr<std::uint8_t[]> buffer_;
  std::uint32_t capacity_ = 0;
};
