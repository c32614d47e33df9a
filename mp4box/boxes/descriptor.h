// The length of a descriptor (ISO/IEC 14496-1, 8.3.3).
#pragma once

#include "mp4box/fields.h"
#include "mp4box/output.h"

namespace fmp4::mp4 {

// 7 bits per byte, most significant group first; every byte except the last has its top bit set.
struct DescriptorLength {
  std::uint32_t value = 0;
  bool padded = false;  // always 4 bytes, as many writers store it

  // Bytes of the encoded length.
  std::uint32_t bytes() const {
    Mp4MemoryOutput nowhere;
    return Mp4WriteDescrLength(nowhere, value, !padded, false);
  }

  void fields(Mp4Fields& f) {
    if (!f.reading()) {
      Mp4MemoryOutput out;
      Mp4WriteDescrLength(out, value, !padded, true);
      f.bytes("length", out.bytes);
      return;
    }
    const std::uint32_t count = f.sevenBits("length", value);
    padded = false;
    padded = count > bytes();
  }
};

}  // namespace fmp4::mp4
