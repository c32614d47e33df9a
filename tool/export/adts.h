// AAC access units as an ADTS stream (ISO/IEC 14496-3, 1.A.2; ISO/IEC 13818-7, 6.2).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fmp4 {

class Adts {
 public:
  // For access units of an AudioSpecificConfig. SBR and parametric stereo are signalled implicitly: the
  // header has the core's object type and sampling frequency. Nothing when ADTS cannot say what the
  // configuration says; `why` then receives the reason: "its frames have 960 samples".
  // `mpeg2`: the track is AAC of ISO/IEC 13818-7.
  static std::optional<Adts> fromConfiguration(std::span<const std::uint8_t> configuration, bool mpeg2,
                                               std::string& why);

  // Appends an access unit after its header. The first is preceded by the program_config_element of a
  // configuration that has one. False, `stream` unchanged, for one with more bytes than a header can say.
  bool append(std::span<const std::uint8_t> unit, std::vector<std::uint8_t>& stream);

 private:
  Adts() = default;

  std::uint8_t second_ = 0;  // the second byte of each header, and the third
  std::uint8_t third_ = 0;
  std::uint8_t channels_ = 0;          // channel_configuration
  std::vector<std::uint8_t> program_;  // the program_config_element, until it is written
};

}  // namespace fmp4
