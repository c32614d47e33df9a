#include "tests/corrupt/counted_reads.h"

#include <dlfcn.h>

#include <atomic>

#include "vlutil.h"

namespace fmp4 {

namespace {

std::atomic<std::uint64_t> calls = 0;
std::atomic<std::uint64_t> bytes = 0;

}  // namespace

HostReads hostReads() {
  return {calls, bytes};
}

}  // namespace fmp4

using namespace fmp4;

std::int32_t vlOSReadFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done) {
  using Read = std::int32_t (*)(VLHANDLE, void*, std::uint32_t, std::uint32_t*);
  static const auto read = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "vlOSReadFile"));
  std::uint32_t got = 0;
  const std::int32_t result = read(file, buffer, count, &got);
  ++calls;
  bytes += got;
  if (done) *done = got;
  return result;
}
