#include "tool/host/codec_profile.h"

#include "base/aac/audio_specific_config.h"

namespace fmp4 {

namespace {

// "4.1" for 41, "4" for 40.
std::string levelText(unsigned tenths) {
  const std::string integral = std::to_string(tenths / 10);
  return tenths % 10 == 0 ? integral : integral + '.' + std::to_string(tenths % 10);
}

constexpr bool constraint(std::uint8_t flags, unsigned set) {
  return (flags >> (7 - set) & 1) != 0;
}

std::string h264ProfileName(unsigned profile, std::uint8_t constraints) {
  const std::string intra = constraint(constraints, 3) ? " Intra" : "";
  switch (profile) {
    case 44:
      return "CAVLC 4:4:4 Intra";
    case 66:
      return constraint(constraints, 1) ? "Constrained Baseline" : "Baseline";
    case 77:
      return "Main";
    case 88:
      return "Extended";
    case 100:
      return "High";
    case 110:
      return "High 10" + intra;
    case 122:
      return "High 4:2:2" + intra;
    case 244:
      return "High 4:4:4 " + (intra.empty() ? "Predictive" : intra.substr(1));
    default:
      return {};
  }
}

// Level 1b has the number of level 1.1 in the profiles that are older than it.
std::string h264LevelName(unsigned profile, std::uint8_t constraints, unsigned level) {
  const bool old = profile == 66 || profile == 77 || profile == 88;
  if (level == 9 || (level == 11 && old && constraint(constraints, 3))) return "1b";
  return levelText(level);
}

}  // namespace

CodecProfile h264Profile(std::span<const std::uint8_t> record) {
  constexpr std::size_t kHeaderBytes = 4;  // version, profile, constraints, level
  if (record.size() < kHeaderBytes) return {};
  return {h264ProfileName(record[1], record[2]), h264LevelName(record[1], record[2], record[3])};
}

CodecProfile hevcProfile(std::span<const std::uint8_t> record) {
  constexpr std::size_t kLevelPlace = 12;
  constexpr const char* kNames[] = {"", "Main", "Main 10", "Main Still Picture", "Rext"};
  if (record.size() <= kLevelPlace) return {};
  const unsigned profile = record[1] & 0x1Fu;
  const bool highTier = (record[1] & 0x20u) != 0;
  return {profile < std::size(kNames) ? kNames[profile] : "",
          levelText(record[kLevelPlace] / 3u) + (highTier ? " High" : "")};
}

std::string aacProfile(std::span<const std::uint8_t> bytes) {
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(bytes.data(), bytes.size(), config)) return {};
  if (config.psSignalled) return "HE-AACv2";
  if (config.sbrSignalled) return "HE-AAC";
  switch (config.objectType) {
    case UMC::aac::kObjectMain:
      return "Main";
    case UMC::aac::kObjectLc:
      return "LC";
    case UMC::aac::kObjectSsr:
      return "SSR";
    case UMC::aac::kObjectLtp:
      return "LTP";
    default:
      return {};
  }
}

}  // namespace fmp4
