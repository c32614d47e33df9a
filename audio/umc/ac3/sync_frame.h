// Sync frames: where they begin, how long they are, whether they are whole (ATSC A/52, 5.3.1 and 5.4.1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/ac3/crc.h"

namespace UMC::ac3 {

inline constexpr int kBlocks = 6;
inline constexpr int kBlockSamples = 256;
inline constexpr int kFrameSamples = kBlocks * kBlockSamples;

// Bytes that must be there to know a frame: up to bsid.
inline constexpr std::size_t kSyncInfoBytes = 6;

struct SyncInfo {
  std::uint8_t frequencyCode;  // fscod
  std::uint8_t version;        // bsid
  std::uint8_t rateShift;      // 1 and 2: half and quarter of the sampling and bit rates
  std::uint32_t frequency;     // hertz
  std::uint32_t bitRate;       // bits a second
  std::size_t bytes;           // of the whole frame
};

enum class SyncStatus { kOk, kInvalid, kOtherVersion };

// Whether a sync word stands at `data`, two bytes.
bool IsSyncWord(const std::uint8_t* data);

// Reads syncinfo() and bsid of the frame at `data`, kSyncInfoBytes. kInvalid without a sync word and for
// codes that tell no size; kOtherVersion for a bsid above 10.
SyncStatus ParseSyncInfo(const std::uint8_t* data, SyncInfo& info);

// The first position of at least `from` where a frame may begin, else the first of the bytes at the end that
// may be the start of one, `size` when there are none.
std::size_t FindFrame(const std::uint8_t* data, std::size_t from, std::size_t size);

// Whether both checksums of the frame at `data` hold.
bool ChecksumsHold(const std::uint8_t* data, const SyncInfo& info);
// The same of the frame that begins at `start` of the bytes that `crc` passes over.
bool ChecksumsHold(PassingCrc& crc, std::size_t start, const SyncInfo& info);

}  // namespace UMC::ac3
