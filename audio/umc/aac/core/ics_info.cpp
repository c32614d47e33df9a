#include "audio/umc/aac/core/ics_info.h"

#include "base/aac/audio_specific_config.h"

namespace UMC::aac {

namespace {

// Reads what follows predictor_data_present in a long window.
bool ParsePredictorData(fmp4::BitWindow& stream, int objectType, IcsInfo& ics, IcsInfo* second) {
  if (objectType == kObjectMain) {
    if (!ParsePredictionData(stream, *ics.bands, ics.maxSfb, ics.prediction)) return false;
    if (second != nullptr) *second = ics;
    return true;
  }
  if (objectType != kObjectLtp) return false;
  if (second != nullptr) *second = ics;
  if (stream.ReadFlag()) ParseLtpData(stream, ics.maxSfb, ics.ltp);  // ltp_data_present
  if (second != nullptr && stream.ReadFlag()) ParseLtpData(stream, ics.maxSfb, second->ltp);
  return true;
}

}  // namespace

bool ParseIcsInfo(fmp4::BitWindow& stream, const FrameBands& bands, int objectType, IcsInfo& ics,
                  IcsInfo* second) {
  stream.Read(1);  // ics_reserved_bit
  ics.sequence = static_cast<WindowSequence>(stream.Read(2));
  ics.shape = static_cast<std::uint8_t>(stream.Read(1));
  if (ics.IsShort()) {
    ics.bands = &bands.shortWindow;
    ics.maxSfb = static_cast<std::uint8_t>(stream.Read(4));
    const std::uint32_t grouping = stream.Read(7);
    ics.groups = 1;
    ics.groupLength[0] = 1;
    for (int bit = 6; bit >= 0; --bit) {
      if ((grouping >> bit & 1) != 0) {
        ++ics.groupLength[ics.groups - 1];
      } else {
        ics.groupLength[ics.groups++] = 1;
      }
    }
  } else {
    ics.bands = &bands.longWindow;
    ics.maxSfb = static_cast<std::uint8_t>(stream.Read(6));
    ics.groups = 1;
    ics.groupLength[0] = 1;
  }
  ics.prediction = {};
  ics.ltp = {};
  if (ics.maxSfb > ics.bands->bands) return false;
  if (!ics.IsShort() && stream.ReadFlag()) return ParsePredictorData(stream, objectType, ics, second);
  if (second != nullptr) *second = ics;
  return true;
}

}  // namespace UMC::aac
