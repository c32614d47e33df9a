// The markup of an XML text: tags, comments and their kin.
#pragma once

#include <cstddef>
#include <string_view>

namespace fmp4 {

// The offset after the markup that starts at `start`, with a '<'; npos if it does not end. Assumes
// well-formed text; a parser rejects any other. `attributes` is the number of attribute values in it.
std::size_t endOfMarkup(std::string_view text, std::size_t start, std::size_t& attributes);

}  // namespace fmp4
