// Why a box of a recording is refused.
#pragma once

#include <new>
#include <string>

#include "base/result.h"

namespace fmp4 {

// The defect, as the end of a sentence. Throws std::bad_alloc when memory was short: that is no defect of the
// recording.
inline std::string defectReason(Result failure) {
  if (failure.kind() == DefectKind::NoMemory) throw std::bad_alloc();
  return std::string(defectText(failure.defect()));
}

}  // namespace fmp4
