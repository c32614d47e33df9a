// Reads that the plug-in requests from the host's files.
#pragma once

#include <cstdint>

namespace fmp4 {

struct HostReads {
  std::uint64_t calls = 0;
  std::uint64_t bytes = 0;  // returned
};

// All reads of this program's threads since its start. Linked in, this file intercepts the host's read call.
HostReads hostReads();

}  // namespace fmp4
