// fill_element(): locates its contents without decoding them (ISO/IEC 14496-3, 4.4.2.7).
#pragma once

#include "audio/umc/aac/sbr/data.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Parses the element after its id. If it carries an sbr_extension_data(), `sbr` receives its location;
// otherwise it is unchanged.
void ParseFillElement(fmp4::BitWindow& stream, SbrPayload& sbr);

}  // namespace UMC::aac
