#include "tool/export/adts.h"

#include "base/aac/audio_specific_config.h"
#include "base/aac/sampling_frequencies.h"
#include "base/bit_window.h"

namespace fmp4 {

namespace {

constexpr std::size_t kAdtsHeaderBytes = 7;
constexpr std::size_t kMaxAdtsFrameBytes = (1 << 13) - 1;
constexpr std::uint32_t kProgramConfigElement = 5;  // id_syn_ele

// What GASpecificConfig() says beside what UMC::aac::AudioSpecificConfig keeps.
struct GeneralAudio {
  bool dependsOnCoreCoder = false;
  bool extensionFlag = false;
  std::size_t program = 0;  // bit position of what follows, a program_config_element if there is one
};

void skipObjectType(BitWindow& bits) {
  if (bits.Read(5) == 31) bits.Read(6);
}

void skipFrequency(BitWindow& bits) {
  if (bits.Read(4) == UMC::aac::kSamplingIndexEscape) bits.Read(24);
}

GeneralAudio readGeneralAudio(BitWindow& bits, const UMC::aac::AudioSpecificConfig& config) {
  skipObjectType(bits);
  skipFrequency(bits);
  bits.Read(4);  // channelConfiguration
  if (config.signalledType != config.objectType) {
    skipFrequency(bits);
    skipObjectType(bits);
  }
  GeneralAudio audio;
  bits.Read(1);  // frameLengthFlag
  audio.dependsOnCoreCoder = bits.ReadFlag();
  if (audio.dependsOnCoreCoder) bits.Read(14);  // coreCoderDelay
  audio.extensionFlag = bits.ReadFlag();
  audio.program = bits.Position();
  return audio;
}

// Bits written most significant first.
class BitBytes {
 public:
  void add(std::uint32_t value, unsigned count) {
    for (unsigned i = count; i-- > 0;) {
      if (count_++ % 8 == 0) bytes_.push_back(0);
      bytes_.back() = static_cast<std::uint8_t>(std::uint32_t{bytes_.back()} << 1 | (value >> i & 1));
    }
  }
  void align() { add(0, static_cast<unsigned>(-count_ % 8)); }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;  // the last one right-aligned while it is not full
  std::size_t count_ = 0;
};

// Moves past the fields of a program_config_element that come before its alignment (ISO/IEC 14496-3,
// 4.4.1.1).
void skipProgramFields(BitWindow& bits) {
  bits.Read(4 + 2 + 4);  // tag, object type, sampling frequency
  const std::uint32_t front = bits.Read(4), side = bits.Read(4), back = bits.Read(4), lfe = bits.Read(2);
  const std::uint32_t data = bits.Read(3), coupling = bits.Read(4);
  if (bits.ReadFlag()) bits.Read(4);  // mono mixdown
  if (bits.ReadFlag()) bits.Read(4);  // stereo mixdown
  if (bits.ReadFlag()) bits.Read(3);  // matrix mixdown
  for (std::uint32_t i = 0; i < front + side + back + coupling; ++i) bits.Read(5);
  for (std::uint32_t i = 0; i < lfe + data; ++i) bits.Read(4);
}

// The program_config_element at a position, as the first element of a raw_data_block(), where it is aligned
// anew. It ends at a whole byte.
std::vector<std::uint8_t> programElement(BitWindow bits, std::size_t position) {
  bits.Seek(position);
  skipProgramFields(bits);
  const std::size_t end = bits.Position();
  BitBytes element;
  element.add(kProgramConfigElement, 3);
  bits.Seek(position);
  while (bits.Position() < end) element.add(bits.Read(1), 1);
  element.align();
  bits.AlignToByte();
  const std::uint32_t comment = bits.Read(8);
  element.add(comment, 8);
  for (std::uint32_t i = 0; i < comment; ++i) element.add(bits.Read(8), 8);
  return element.take();
}

// Why ADTS cannot say what a configuration says; empty when it can.
std::string whyNoAdts(const UMC::aac::AudioSpecificConfig& config, const GeneralAudio& audio) {
  if (!UMC::aac::IsSupportedObjectType(config.objectType))
    return "its audio object type is " + std::to_string(config.objectType) + ", and ADTS has 1 to 4";
  if (config.frequency != UMC::aac::kSamplingFrequencies[config.samplingIndex])
    return "its sampling frequency of " + std::to_string(config.frequency) + " Hz is none of AAC's list";
  if (config.frameLength != 1024)
    return "its frames have " + std::to_string(config.frameLength) + " samples, and those of ADTS 1024";
  if (config.channelConfiguration > 7)
    return "its channel configuration is " + std::to_string(config.channelConfiguration) +
           ", and ADTS has 0 to 7";
  if (audio.dependsOnCoreCoder) return "it depends on another track";
  if (audio.extensionFlag) return "its configuration has an extension";
  return {};
}

}  // namespace

std::optional<Adts> Adts::fromConfiguration(std::span<const std::uint8_t> configuration, bool mpeg2,
                                            std::string& why) {
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config)) {
    why = "its configuration (AudioSpecificConfig) is missing or damaged";
    return std::nullopt;
  }
  BitWindow bits(configuration.data(), configuration.size());
  const GeneralAudio audio = readGeneralAudio(bits, config);
  why = whyNoAdts(config, audio);
  if (!why.empty()) return std::nullopt;
  Adts adts;
  // syncword, ID, layer 0, protection_absent.
  adts.second_ = static_cast<std::uint8_t>(0xF0 | (mpeg2 ? 8 : 0) | 1);
  // profile_ObjectType, sampling_frequency_index; private_bit 0, and the first bit of the channels.
  adts.third_ = static_cast<std::uint8_t>((config.objectType - 1) << 6 | config.samplingIndex << 2 |
                                          config.channelConfiguration >> 2);
  adts.channels_ = static_cast<std::uint8_t>(config.channelConfiguration);
  if (config.channelConfiguration == 0) adts.program_ = programElement(bits, audio.program);
  return adts;
}

bool Adts::append(std::span<const std::uint8_t> unit, std::vector<std::uint8_t>& stream) {
  const std::size_t frame = kAdtsHeaderBytes + program_.size() + unit.size();
  if (frame > kMaxAdtsFrameBytes) return false;
  constexpr std::uint32_t kVariableRate = 0x7FF;  // adts_buffer_fullness
  const auto byte = [](std::size_t value) { return static_cast<std::uint8_t>(value & 0xFF); };
  stream.insert(stream.end(),
                {0xFF, second_, third_, byte((channels_ & 3u) << 6 | frame >> 11), byte(frame >> 3),
                 byte((frame & 7) << 5 | kVariableRate >> 6), byte((kVariableRate & 0x3F) << 2)});
  stream.insert(stream.end(), program_.begin(), program_.end());
  stream.insert(stream.end(), unit.begin(), unit.end());
  program_.clear();
  return true;
}

}  // namespace fmp4
