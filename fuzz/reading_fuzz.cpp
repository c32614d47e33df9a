// A complete file: frames, captions and audio do not depend on the order in which they are read.
#include "fuzz/memory_file.h"
#include "fuzz/reading_order.h"
#include "vlhost.h"

namespace fmp4 {

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

// The input is the file. Its last byte, sample data in an intact file, determines the order.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  file.set({data, size});
  expectSameInAnyOrder(file.path(), size ? data[size - 1] : 0);
  return 0;
}

}  // namespace fmp4
