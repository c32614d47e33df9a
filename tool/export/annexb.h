// Converts video samples as MP4 stores them (ISO/IEC 14496-15: each NAL unit after its length) into an
// elementary stream with start codes (Annex B of ISO/IEC 14496-10 and 23008-2).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace fmp4 {

class AnnexB {
 public:
  // `configuration` is an "avcC" or "hvcC" box, including its header. Nothing when it is neither or is
  // damaged.
  static std::optional<AnnexB> fromConfiguration(std::span<const std::uint8_t> configuration);

  // Appends one sample to `stream`. A key frame gets the configuration's parameter sets at its start (after
  // an access unit delimiter, which must stay first). False, `stream` unchanged, when a length extends past
  // the sample's end.
  bool append(std::span<const std::uint8_t> sample, bool key, std::vector<std::uint8_t>& stream) const;

 private:
  enum class Codec { Avc, Hevc };

  AnnexB(Codec codec, unsigned lengthBytes) : codec_(codec), lengthBytes_(lengthBytes) {}
  bool isDelimiter(std::uint8_t firstByte) const;

  Codec codec_;
  unsigned lengthBytes_;                     // 1 to 4
  std::vector<std::uint8_t> parameterSets_;  // with start codes
};

}  // namespace fmp4
