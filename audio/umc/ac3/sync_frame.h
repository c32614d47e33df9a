// Sync frames: where they begin, their size and their integrity (ATSC A/52, 5.3.1 and 5.4.1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/ac3/crc.h"

namespace UMC::ac3 {

inline constexpr int kBlocks = 6;
inline constexpr int kBlockSamples = 256;
inline constexpr int kFrameSamples = kBlocks * kBlockSamples;

// Bytes needed to identify a frame: up to bsid.
inline constexpr std::size_t kSyncInfoBytes = 6;

struct SyncInfo {
  std::uint8_t frequencyCode;  // fscod
  std::uint8_t version;        // bsid
  std::uint8_t rateShift;      // 1 and 2: sampling and bit rates halved and quartered
  std::uint32_t frequency;     // hertz
  std::uint32_t bitRate;       // bits per second
  std::size_t bytes;           // size of the entire frame
};

enum class SyncStatus { kOk, kInvalid, kOtherVersion };

// Whether there is a sync word, two bytes, at `data`.
bool IsSyncWord(const std::uint8_t* data);

// Reads syncinfo() and bsid of the frame at `data`, kSyncInfoBytes. kInvalid without a sync word and for
// reserved rate or size codes; kOtherVersion for a bsid above 10.
SyncStatus ParseSyncInfo(const std::uint8_t* data, SyncInfo& info);

// The first offset from `from` on where a frame may begin. Otherwise the offset of the bytes at the end that
// may be the start of one, or `size` if there are none.
std::size_t FindFrame(const std::uint8_t* data, std::size_t from, std::size_t size);

// Whether both checksums of the frame at `data` match.
bool ChecksumsHold(const std::uint8_t* data, const SyncInfo& info);
// The same for the frame at offset `start` of the bytes that `crc` processes.
bool ChecksumsHold(PassingCrc& crc, std::size_t start, const SyncInfo& info);

}  // namespace UMC::ac3
