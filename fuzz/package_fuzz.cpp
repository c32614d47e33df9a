// Any bytes as live input that is packaged: planned, recorded through the plug-in, ended. The result is
// intact.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "recording/check/verify.h"
#include "tests/support/temp_folder.h"
#include "tool/package/packager.h"
#include "tool/source/fragment_stream.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kMaxFrames = 512;

void package(const Plugin& plugin, SampleSource& source, const PackageOptions& options) {
  checkVideo(source);
  const auto warn = [](const std::string&) {};
  const PackagePlan plan = planPackage(*source.trackOfHandler(mp4::kVideoHandler), options, warn);
  Packager packager(plugin, source, options, plan, kMaxFrames, warn);
  try {
    packager.run([](std::uint64_t) {}, [] { return false; });
  } catch (const UserError&) {
  }
  packager.finish();
  if (packager.frames() != 0 && verifyRecording(options.output).problems.count() != 0) std::abort();
}

}  // namespace

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
    package(plugin, stream, options);
  } catch (const UserError&) {
  }
  return 0;
}

}  // namespace fmp4
