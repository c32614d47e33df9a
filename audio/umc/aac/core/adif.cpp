#include "audio/umc/aac/core/adif.h"

namespace UMC::aac {

bool ParseAdifHeader(fmp4::BitWindow& stream, ProgramConfig& program) {
  if (stream.Read(32) != kAdifId) return false;
  const bool copyrightIdPresent = stream.ReadFlag();
  for (int i = 0; copyrightIdPresent && i < 9; ++i) stream.Read(8);
  stream.Read(2);  // original_copy, home
  const bool variableRate = stream.ReadFlag();
  stream.Read(23);  // bitrate
  const auto programs = stream.Read(4) + 1;
  for (std::uint32_t i = 0; i < programs; ++i) {
    if (!variableRate) stream.Read(20);  // adif_buffer_fullness
    stream.Read(4);                      // element_instance_tag
    ProgramConfig other;
    if (!ParseProgramConfig(stream, i == 0 ? program : other)) return false;
  }
  stream.AlignToByte();
  return true;
}

}  // namespace UMC::aac
