// The transformation matrix of a movie and of a track (ISO/IEC 14496-12, 6.2.2).
#pragma once

#include <array>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

// {a, b, u, c, d, v, x, y, w}: u, v and w are 2.30 fixed point, the others 16.16.
using Matrix = std::array<std::uint32_t, 9>;

inline constexpr Matrix kUnityMatrix = {0x00010000, 0, 0, 0, 0x00010000, 0, 0, 0, 0x40000000};

inline void matrixFields(Mp4Fields& f, Matrix& matrix) {
  for (std::uint32_t& value : matrix) f.hex("matrix", value, 4);
}

}  // namespace fmp4::mp4
