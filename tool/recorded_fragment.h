// One movie fragment of a recording: what its boxes say, held against each other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "recorded_movie.h"

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

// Whether part of the fragment's media data was never written: half a kilobyte of zeros or more up to the end
// of a disk's block. Coded pictures hold no three zero bytes in a row (ISO/IEC 14496-10, 7.4.1), coded sound
// no such runs. Reads all of the data.
bool hasUnwrittenData(Mp4Stream& stream, std::uint64_t begin, std::uint64_t end);

// The first offset at or behind `from` where a "moof" with a sequence number above `sequenceNumber` starts
// and is followed by a "mdat", both within the file; nothing when there is none. Reads all of the rest.
std::optional<std::uint64_t> findFragment(Mp4Stream& stream, std::uint64_t from,
                                          std::uint32_t sequenceNumber);
