#include "base/aac/audio_specific_config.h"

#include "base/aac/sampling_frequencies.h"
#include "base/bit_window.h"

namespace UMC::aac {

namespace {

constexpr std::uint32_t kSbrSyncWord = 0x2B7;
constexpr std::uint32_t kPsSyncWord = 0x548;

int ReadObjectType(fmp4::BitWindow& stream) {
  const auto type = stream.Read(5);
  return static_cast<int>(type == 31 ? 32 + stream.Read(6) : type);
}

// Returns the frequency in Hz, 0 for a reserved index. `index` receives the index whose tables apply.
std::uint32_t ReadFrequency(fmp4::BitWindow& stream, int& index) {
  index = static_cast<int>(stream.Read(4));
  if (index == kSamplingIndexEscape) {
    const auto frequency = stream.Read(24);
    index = SamplingIndexOf(frequency);
    return frequency;
  }
  return index < kSamplingIndexCount ? kSamplingFrequencies[index] : 0;
}

bool IsGeneralAudio(int objectType) {
  switch (objectType) {
    case kObjectMain:
    case kObjectLc:
    case kObjectSsr:
    case kObjectLtp:
    case kObjectScalable:
    case 7:   // TwinVQ
    case 17:  // error-resilient (ER) object types
    case 19:
    case 20:
    case 21:
    case kObjectBsac:
    case 23:
      return true;
    default:
      return false;
  }
}

// GASpecificConfig()
bool ParseGeneralAudio(fmp4::BitWindow& stream, AudioSpecificConfig& config) {
  config.frameLength = stream.ReadFlag() ? 960 : 1024;
  if (stream.ReadFlag()) stream.Read(14);  // coreCoderDelay
  const bool extended = stream.ReadFlag();
  if (config.channelConfiguration == 0) {
    stream.Read(4);  // element_instance_tag
    ProgramConfig program;
    if (!ParseProgramConfig(stream, program)) return false;
    config.layout = LayoutOfProgram(program);
  } else {
    config.layout = LayoutOfConfiguration(config.channelConfiguration);
  }
  if (config.objectType == kObjectScalable || config.objectType == 20) stream.Read(3);  // layerNr
  if (extended) {
    if (config.objectType == kObjectBsac) stream.Read(16);  // numOfSubFrame, layer_length
    if (config.objectType == 17 || config.objectType == 19 || config.objectType == 20 ||
        config.objectType == 23) {
      stream.Read(3);  // resilience flags
    }
    stream.Read(1);  // extensionFlag3
  }
  return true;
}

// SBR and PS signalled after the core configuration, where legacy decoders ignore them (backward compatible).
void ParseTrailingExtension(fmp4::BitWindow& stream, AudioSpecificConfig& config) {
  if (stream.Remaining() < 16 || stream.Read(11) != kSbrSyncWord) return;
  if (ReadObjectType(stream) != kObjectSbr) return;
  config.sbrSignalled = stream.ReadFlag();
  if (!config.sbrSignalled) return;
  int index = 0;
  config.extensionFrequency = ReadFrequency(stream, index);
  if (stream.Remaining() >= 12 && stream.Read(11) == kPsSyncWord) config.psSignalled = stream.ReadFlag();
}

}  // namespace

bool ParseAudioSpecificConfig(const std::uint8_t* data, std::size_t size, AudioSpecificConfig& config) {
  config = {};
  fmp4::BitWindow stream(data, size);
  config.objectType = config.signalledType = ReadObjectType(stream);
  config.frequency = ReadFrequency(stream, config.samplingIndex);
  config.channelConfiguration = static_cast<int>(stream.Read(4));
  if (config.objectType == kObjectSbr || config.objectType == kObjectPs) {
    config.sbrSignalled = true;
    config.psSignalled = config.objectType == kObjectPs;
    int index = 0;
    config.extensionFrequency = ReadFrequency(stream, index);
    config.objectType = ReadObjectType(stream);
    if (config.objectType == kObjectBsac) stream.Read(4);  // extensionChannelConfiguration
  }
  if (config.frequency == 0 || (config.sbrSignalled && config.extensionFrequency == 0)) return false;
  if (!IsGeneralAudio(config.objectType)) {
    config.frameLength = 1024;
    config.layout = LayoutOfConfiguration(config.channelConfiguration);
    return !stream.Overrun();
  }
  if (!ParseGeneralAudio(stream, config)) return false;
  // Some files omit the last bit, extensionFlag, when it would start a new byte.
  if (stream.Position() > 8 * size + 1) return false;
  if (!config.sbrSignalled) ParseTrailingExtension(stream, config);
  return true;
}

}  // namespace UMC::aac
