// Makes sync frames' checksums valid (ATSC A/52, 7.10.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "audio/umc/ac3/crc.h"
#include "audio/umc/ac3/sync_frame.h"

namespace fmp4 {

// `frame` is a complete frame of `bytes` bytes.
inline void SetAc3Checksums(std::uint8_t* frame, std::size_t bytes) {
  const auto put = [](unsigned word, std::uint8_t* to) {
    to[0] = static_cast<std::uint8_t>(word >> 8);
    to[1] = static_cast<std::uint8_t>(word);
  };
  const std::size_t words = bytes / 2, first = 2 * (words / 2 + words / 8);
  // The first checksum precedes what it protects: it is what makes the remainder 0 in the end, found by
  // running the register backwards.
  put(0, frame + 2);
  unsigned remainder = UMC::ac3::CrcRemainder(frame + 2, first - 2);
  for (std::size_t bit = 0; bit < 8 * (first - 2); ++bit) {
    remainder = (remainder & 1) != 0 ? (remainder ^ 0x8005) >> 1 | 0x8000 : remainder >> 1;
  }
  put(remainder, frame + 2);
  put(UMC::ac3::CrcRemainder(frame + first, bytes - first - 2), frame + bytes - 2);
}

// Does so for everything that looks like frames, one after the other from the start.
inline void RepairAc3Checksums(std::vector<std::uint8_t>& bytes) {
  UMC::ac3::SyncInfo info{};
  for (std::size_t at = 0; bytes.size() - at >= UMC::ac3::kSyncInfoBytes; at += info.bytes) {
    if (UMC::ac3::ParseSyncInfo(&bytes[at], info) != UMC::ac3::SyncStatus::kOk) return;
    if (info.bytes > bytes.size() - at) return;
    SetAc3Checksums(&bytes[at], info.bytes);
  }
}

}  // namespace fmp4
