// Boxes as a person names them: by a path of types such as "moof[3]/traf/trun".
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace fmp4 {

// One level of a path: boxes of a type, among those with the same parent.
struct BoxStep {
  static constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();
  static constexpr std::uint64_t kLast = kAll - 1;

  std::uint32_t type = 0;
  std::uint64_t index = kAll;  // from 0; kLast: the last of them

  bool operator==(const BoxStep&) const = default;
};

// The levels of a path, the top level of the file first; at least one. Types have four characters, of which
// each may be given as "\xNN"; "moof[3]" is the fourth, "moof[last]" the last, and "moof" each. The path may
// begin with "/". Nothing when the text is no path.
std::optional<std::vector<BoxStep>> parseBoxPath(std::string_view text);

}  // namespace fmp4
