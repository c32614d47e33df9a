// A source packaged as the program does it. The result is intact.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "recording/check/verify.h"
#include "tool/package/packager.h"

namespace fmp4 {

// Plans a recording, makes it through the plug-in and ends it. Throws UserError when there is nothing to
// record.
inline void packageSource(const Plugin& plugin, SampleSource& source, const PackageOptions& options) {
  constexpr std::uint64_t kMaxFrames = 512;
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

}  // namespace fmp4
