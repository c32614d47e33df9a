// Any text as a manifest, and as a frame rate.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "streaming/lists/manifest_reader.h"

namespace fmp4 {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const FrameRate rate = parseFrameRate(text.c_str());
  // Unknown, or a fraction with a non-zero divisor.
  if (rate.denominator == 0 || (rate.numerator == 0 && rate.denominator != 1)) std::abort();

  // The same manifest with its segment lists as elements and as numbers.
  tinyxml2::XMLDocument whole, rest;
  SegmentRuns runs;
  const bool parsed = parseManifestDocument(text, whole);
  if (parseManifestDocument(text, rest, runs) != parsed) std::abort();
  if (parsed && readManifest(whole) != readManifest(rest, runs)) std::abort();
  return 0;
}

}  // namespace fmp4
