// The result of an operation that can fail in more than one way.
#pragma once

#include "base/defect.h"

namespace fmp4 {

// Success, or the defect that prevented it, which keeps its name on the way up: whoever cannot handle it
// returns it as it is.
class [[nodiscard]] Result {
 public:
  constexpr Result() = default;  // success
  constexpr Result(Defect defect) : defect_(defect) {}

  constexpr bool ok() const { return defect_ == Defect::None; }
  constexpr Defect defect() const { return defect_; }
  constexpr DefectKind kind() const { return defectKind(defect_); }

  constexpr bool operator==(const Result&) const = default;

 private:
  Defect defect_ = Defect::None;
};

}  // namespace fmp4
