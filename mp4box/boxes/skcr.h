// "skcr": the pattern of encrypted and clear bytes of a protected sample.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SkipCryptBox final : Mp4Payload {
  std::uint32_t initialBytes = 0;    // bytes, clear, at the start
  std::uint32_t encryptedBytes = 0;  // bytes, encrypted; then this and the next alternate
  std::uint32_t clearBytes = 0;

  void fields(Mp4Fields& f) override {
    f.u32("initial_bytes", initialBytes);
    f.u32("encrypted_bytes", encryptedBytes);
    f.u32("clear_bytes", clearBytes);
  }
};

}  // namespace fmp4::mp4
