// One movie fragment of a recording: what its boxes say, held against each other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "recording/check/recorded_movie.h"

// What a fragment holds of one track.
struct RecordedRun {
  std::uint64_t decodeTime = 0;  // ticks
  std::uint64_t samples = 0;
  std::uint64_t ticks = 0;   // of all samples
  std::uint64_t bytes = 0;   // of all samples
  std::uint64_t offset = 0;  // of the first sample in the file
};

struct RecordedFragment {
  std::uint64_t start = 0;  // of its "moof"
  std::uint64_t end = 0;    // behind its "mdat"
  std::uint32_t sequenceNumber = 0;
  mp4::PerTrack<RecordedRun> runs;
};

// The fragment whose "moof" starts at `offset`, or why none stands there whole.
std::variant<RecordedFragment, std::string> readRecordedFragment(Mp4Stream& stream, std::uint64_t offset,
                                                                 const RecordedMovie& movie);

// Zeros in a row that no coded data have. Coded pictures have no three bytes of them (ISO/IEC
// 14496-10, 7.4.1), AAC frames at most the 510 of a data stream element; AC-3 pads frames of up to 3840 bytes
// with them.
inline constexpr std::ptrdiff_t kMinUnwritten = 512;
inline constexpr std::ptrdiff_t kMinUnwrittenAc3 = 3840;

// Whether the disk lost part of a fragment's data: it then reads as zeros up to the end of a block. At least
// `fewest` of them count. Reads all of the data.
bool hasUnwrittenData(Mp4Stream& stream, std::uint64_t begin, std::uint64_t end, std::ptrdiff_t fewest);

// The first offset at or behind `from` where a "moof" with a sequence number above `sequenceNumber` starts
// and is followed by a "mdat", both within the file; nothing when there is none. Reads all of the rest.
std::optional<std::uint64_t> findFragment(Mp4Stream& stream, std::uint64_t from,
                                          std::uint32_t sequenceNumber);
