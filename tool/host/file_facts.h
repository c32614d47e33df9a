// What a file says of itself beside its tracks, and whether it still grows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/host/movie_file.h"

namespace fmp4 {

// The "ftyp" of a file.
struct FileBrands {
  std::uint32_t major = 0;
  std::uint32_t minorVersion = 0;
  std::vector<std::uint32_t> compatible;  // at most 64
};

enum class Growth {
  No,       // no sign of it
  Growing,  // a program on this machine is writing it
  Unknown,  // its playlist has no end, and none here is writing it
};

struct FileFacts {
  std::optional<FileBrands> brands;
  std::string creationTime;  // ISO 8601 in UTC, "2026-11-22T18:30:00Z"; empty when not stated
  Growth growth = Growth::No;
};

// Brands and creation time are those of the first file, with the video. What cannot be read is not stated.
FileFacts fileFacts(const OpenedFiles& files);

// The time that is `seconds` after the beginning of 1904, as ISO 8601 in UTC. Empty for 0, which stands for
// no time, and past the year 9999.
std::string movieTimeText(std::uint64_t seconds);

// For people: "2026-11-22 18:30:00 UTC", "iso5, compatible with iso5, dash".
std::string creationText(const FileFacts& facts);
std::string brandsText(const FileBrands& brands);

}  // namespace fmp4
