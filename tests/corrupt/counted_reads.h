// What the plug-in asks of the host's files.
#pragma once

#include <cstdint>

struct HostReads {
  std::uint64_t calls = 0;
  std::uint64_t bytes = 0;  // that came back
};

// All reads of this program's threads since its start. Linked in, this file answers the host's read call
// ahead of the host library.
HostReads hostReads();
