#include "tests/faults/packaged_file.h"

#include "mp4box/boxes/hdlr.h"
#include "tool/package/packager.h"
#include "tool/source/source_file.h"

namespace fmp4 {

void packageFile(const std::string& input, const std::string& output) {
  const auto ignore = [](const std::string&) {};
  SourceFile source(input);
  checkVideo(source);
  PackageOptions options;
  options.input = input;
  options.output = output;
  const PackagePlan plan = planPackage(*source.trackOfHandler(mp4::kVideoHandler), options, ignore);
  const Plugin plugin("vlx_fmp4");
  Packager packager(plugin, source, options, plan, plan.count, ignore);
  packager.run([](std::uint64_t) {}, [] { return false; });
  packager.finish();
}

}  // namespace fmp4
