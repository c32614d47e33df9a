#include "tool/host/codec_configuration.h"

#include "base/bytes.h"

namespace fmp4 {

std::span<const std::uint8_t> codecConfiguration(const QVRVIDEO& video) {
  const std::span<const std::uint8_t> space = video.colourTable;
  const std::uint32_t size = Mp4LoadU32(space.data());
  return space.first(size <= space.size() ? size : 0);
}

}  // namespace fmp4
