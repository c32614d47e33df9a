// Packaging an input that is still arriving, in this process.
#pragma once

#include <string>

#include "tests/support/box_builder.h"

// Records the fragmented MP4 `live` as `output`, as it would be from standard input.
void recordLive(const Bytes& live, const std::string& output);
