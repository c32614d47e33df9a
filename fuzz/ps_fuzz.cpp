// Parametric stereo payloads with hostile bytes, frame after frame. The lowest bit of the first byte selects
// frames of 960 samples. It is followed by alternating payload lengths, 0 for a frame without a payload, and
// payload bytes.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "audio/umc/aac/ps/parametric_stereo.h"

namespace fmp4 {

using namespace UMC;

using namespace UMC::aac;

namespace {

constexpr int kMaxFrames = 24;  // an input of empty payloads alone would be thousands

struct Space {
  PsData data;
  PsState state;
  PsScratch scratch;
  Ipp32fc left[kIppsSbrSlots + kPsLookAhead][kIppsSbrBands];
  Ipp32fc right[kIppsSbrSlots][kIppsSbrBands];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const int slots = (data[0] & 1) != 0 ? 30 : 32;
  const auto space = std::make_unique<Space>();
  int frames = 0;
  for (std::size_t at = 1; at < size && frames < kMaxFrames; ++frames) {
    const std::size_t length = std::min<std::size_t>(data[at], size - at - 1);
    // A block of exactly this size, so that the sanitizer detects any read past its end.
    std::vector<std::uint8_t> bytes(data + at + 1, data + at + 1 + length);
    bytes.shrink_to_fit();
    at += 1 + length;
    BitWindow stream(bytes.data(), bytes.size());
    if (length > 0) ParsePsData(stream, 8 * length, slots, space->data);
    // Sometimes louder than any real signal.
    const float scale = length % 4 == 1 ? 0x1p20f : 1;
    int value = static_cast<int>(at);
    for (auto& slot : space->left) {
      for (Ipp32fc& sample : slot) {
        value = (value * 7919 + 1) % 65536;
        sample = {scale * static_cast<float>(value - 32768), scale * static_cast<float>(value % 1024)};
      }
    }
    ApplyParametricStereo(space->data, space->state, space->scratch, slots, space->left, space->right);
    const auto finite = [](const Ipp32fc& sample) {
      return std::isfinite(sample.re) && std::isfinite(sample.im);
    };
    for (int slot = 0; slot < slots; ++slot) {
      if (!std::all_of(space->left[slot], space->left[slot] + kIppsSbrBands, finite)) std::abort();
      if (!std::all_of(space->right[slot], space->right[slot] + kIppsSbrBands, finite)) std::abort();
    }
  }
  return 0;
}

}  // namespace fmp4
