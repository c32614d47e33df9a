// fill_element(): what may stand in it, found but not read (ISO/IEC 14496-3, 4.4.2.7).
#pragma once

#include "audio/umc/aac/sbr/data.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Goes through the element from behind its id. Where it carries an sbr_extension_data(), `sbr` receives its
// place, else it stays as it is.
void ParseFillElement(BitWindow& stream, SbrPayload& sbr);

}  // namespace UMC::aac
