#include "audio/umc/aac/core/als_config.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace UMC::aac {

namespace {

void SkipBits(fmp4::BitWindow& stream, std::size_t bits) {
  stream.Seek(stream.Position() + bits);
}

// header_size or trailer_size: the size of the data that preceded or followed the audio in its original file.
std::size_t ReadOriginalSize(fmp4::BitWindow& stream) {
  constexpr std::uint32_t kNone = 0xFFFFFFFF;
  const auto bytes = stream.Read(32);
  return bytes == kNone ? 0 : bytes;
}

}  // namespace

bool ParseAlsConfig(fmp4::BitWindow& stream, AlsConfig& config) {
  if (stream.Read(32) != kAlsId) return false;
  config.frequency = stream.Read(32);
  const std::uint64_t samples = stream.Read(32);
  const std::size_t lastChannel = stream.Read(16);  // channels minus 1
  config.channels = static_cast<std::uint32_t>(lastChannel) + 1;
  stream.Read(3);  // file_type
  const auto resolution = stream.Read(3);
  stream.Read(2);                                            // floating, msb_first
  const std::uint64_t frameLength = stream.Read(16) + 1ull;  // samples
  const auto randomAccess = stream.Read(8);
  const auto randomAccessFlag = stream.Read(2);
  stream.Read(20);  // the tools: adapt_order to mc_coding
  const bool channelConfiguration = stream.ReadFlag();
  const bool channelSort = stream.ReadFlag();
  const bool checksum = stream.ReadFlag();
  stream.Read(6);  // RLSLMS, reserved
  const bool auxiliary = stream.ReadFlag();
  if (resolution > 3 || randomAccessFlag > 2) return false;

  if (channelConfiguration) stream.Read(16);
  if (channelSort) {
    const auto positionBits = std::max<std::size_t>(1, static_cast<std::size_t>(std::bit_width(lastChannel)));
    SkipBits(stream, (lastChannel + 1) * positionBits);
  }
  stream.AlignToByte();
  const std::size_t headerBytes = ReadOriginalSize(stream);
  const std::size_t trailerBytes = ReadOriginalSize(stream);
  SkipBits(stream, 8 * (headerBytes + trailerBytes));
  if (checksum) stream.Read(32);
  if (randomAccessFlag == 2 && randomAccess > 0 && samples > 0) {
    SkipBits(stream, 32 * ((samples - 1) / frameLength + 1));  // ra_unit_size
  }
  if (auxiliary) {
    const std::size_t bytes = stream.Read(32);  // aux_size
    SkipBits(stream, 8 * bytes);
  }
  return !stream.Overrun();
}

}  // namespace UMC::aac
