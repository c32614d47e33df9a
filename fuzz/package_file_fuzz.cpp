// Any bytes as a file that is packaged: a plain or fragmented MP4.
#include <cstdint>

#include "base/user_error.h"
#include "fuzz/memory_file.h"
#include "fuzz/packaged.h"
#include "tool/source/source_file.h"
#include "vlhost.h"

namespace fmp4 {

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

// The last byte, sample data in an intact file, selects the place of the audio, the first frame and the
// key-frame interval.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Plugin plugin("vlx_fmp4");
  static const MemoryFile input;
  input.set({data, size});
  const TempFolder folder;
  const std::uint8_t choice = size != 0 ? data[size - 1] : std::uint8_t{0};
  PackageOptions options;
  options.output = folder.file(choice % 2 != 0 ? "out.ismv" : "out.mp4");
  options.start = choice / 2 % 4;
  try {
    SourceFile source(input.path());
    packageSource(plugin, source, options);
  } catch (const UserError&) {
  }
  return 0;
}

}  // namespace fmp4
