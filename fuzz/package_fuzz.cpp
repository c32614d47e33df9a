// Any bytes as live input that is packaged: planned, recorded through the plug-in, ended. The result is
// intact.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "base/user_error.h"
#include "fuzz/packaged.h"
#include "tests/support/temp_folder.h"
#include "tool/source/fragment_stream.h"
#include "vlhost.h"

namespace fmp4 {

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

// The last byte selects audio in a file of its own or in the same file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Plugin plugin("vlx_fmp4");
  const TempFolder folder;
  std::span<const std::uint8_t> bytes(data, size);
  const auto arrive = [&bytes](std::span<std::uint8_t> piece) {
    const std::size_t count = std::min(piece.size(), bytes.size());
    if (count != 0) std::memcpy(piece.data(), bytes.data(), count);
    bytes = bytes.subspan(count);
    return count;
  };
  PackageOptions options;
  options.output = folder.file(size != 0 && data[size - 1] % 2 != 0 ? "out.ismv" : "out.mp4");
  try {
    FragmentStream stream("live input", {arrive, [] { return false; }});
    if (!stream.readFragment()) return 0;
    packageSource(plugin, stream, options);
  } catch (const UserError&) {
  }
  return 0;
}

}  // namespace fmp4
