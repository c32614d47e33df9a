// Packaging an input that is still arriving, in this process.
#pragma once

#include <string>

#include "tests/support/box_builder.h"

namespace fmp4 {

// Records the fragmented MP4 `live` as `output`, as it would be from standard input.
void recordLive(const Bytes& live, const std::string& output);

}  // namespace fmp4
