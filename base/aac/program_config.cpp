#include "base/aac/program_config.h"

#include "base/aac/sampling_frequencies.h"

namespace UMC::aac {

namespace {

void ParseElements(fmp4::BitWindow& stream, bool pairs, ProgramElements& elements) {
  for (int i = 0; i < elements.count; ++i) {
    elements.items[i].isPair = pairs && stream.ReadFlag();
    elements.items[i].tag = static_cast<std::uint8_t>(stream.Read(4));
  }
}

}  // namespace

bool ParseProgramConfig(fmp4::BitWindow& stream, ProgramConfig& program) {
  program.objectType = static_cast<std::uint8_t>(stream.Read(2));
  program.samplingIndex = static_cast<std::uint8_t>(stream.Read(4));
  program.front.count = static_cast<std::uint8_t>(stream.Read(4));
  program.side.count = static_cast<std::uint8_t>(stream.Read(4));
  program.back.count = static_cast<std::uint8_t>(stream.Read(4));
  program.lfe.count = static_cast<std::uint8_t>(stream.Read(2));
  const auto associatedData = stream.Read(3);
  const auto couplings = stream.Read(4);
  if (stream.ReadFlag()) stream.Read(4);  // mono_mixdown_element_number
  if (stream.ReadFlag()) stream.Read(4);  // stereo_mixdown_element_number
  program.mixdownIndex = -1;
  if (stream.ReadFlag()) {
    program.mixdownIndex = static_cast<std::int8_t>(stream.Read(2));
    stream.Read(1);  // pseudo_surround_enable
  }
  ParseElements(stream, true, program.front);
  ParseElements(stream, true, program.side);
  ParseElements(stream, true, program.back);
  ParseElements(stream, false, program.lfe);
  stream.Read(4 * associatedData);
  for (std::uint32_t i = 0; i < couplings; ++i) stream.Read(5);  // cc_element_is_ind_sw, tag
  stream.AlignToByte();
  const auto commentBytes = stream.Read(8);
  for (std::uint32_t i = 0; i < commentBytes; ++i) stream.Read(8);
  return program.samplingIndex < kSamplingIndexCount;
}

}  // namespace UMC::aac
