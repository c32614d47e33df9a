// Standard input as bytes, and requests to end (SIGINT, SIGTERM, Ctrl-C), which interrupt waiting for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace fmp4 {

// After this call a request to end only makes endRequested() true. A second one ends the program.
void heedEndRequests();
bool endRequested();

// Reads some bytes, waiting for them. Returns how many; 0 at the end, or when the end was requested. Throws
// UserError when the input cannot be read.
std::size_t readStandardInput(std::span<std::uint8_t> bytes);

}  // namespace fmp4
