// One movie fragment of a recording: its boxes, checked against each other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "recording/check/recorded_movie.h"

namespace fmp4 {

// What a fragment holds of one track.
struct RecordedRun {
  std::uint64_t decodeTime = 0;  // ticks
  std::uint64_t samples = 0;
  std::uint64_t ticks = 0;   // ticks, all samples
  std::uint64_t bytes = 0;   // bytes, all samples
  std::uint64_t offset = 0;  // file offset of the first sample
  bool startsWithKey = false;
};

struct RecordedFragment {
  std::uint64_t start = 0;  // file offset of its "moof"
  std::uint64_t end = 0;    // file offset after its "mdat"
  std::uint32_t sequenceNumber = 0;
  mp4::PerTrack<RecordedRun> runs;
};

// The fragment whose "moof" starts at `offset`, or why no complete one is there.
std::variant<RecordedFragment, std::string> readRecordedFragment(Mp4Stream& stream, std::uint64_t offset,
                                                                 const RecordedMovie& movie);

// Runs of zero bytes longer than coded data have. Coded video frames have no three zero bytes in a row
// (ISO/IEC 14496-10, 7.4.1), AAC frames at most the 510 of a data stream element; AC-3 pads frames of up to
// 3840 bytes with zeros.
inline constexpr std::ptrdiff_t kMinUnwritten = 512;
inline constexpr std::ptrdiff_t kMinUnwrittenAc3 = 3840;

// Whether part of a fragment's data never reached the disk: it then reads as zeros up to the end of a block.
// Only runs of at least `minimum` zeros count. Reads all of the data.
bool hasUnwrittenData(Mp4Stream& stream, std::uint64_t begin, std::uint64_t end, std::ptrdiff_t minimum);

// The first offset at or after `from` where a "moof" with a sequence number above `sequenceNumber` starts and
// is followed by a "mdat", both within the file; nothing when there is none. Reads the rest of the file.
std::optional<std::uint64_t> findFragment(Mp4Stream& stream, std::uint64_t from,
                                          std::uint32_t sequenceNumber);

}  // namespace fmp4
