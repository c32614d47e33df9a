// Which video and audio track of a source is recorded.
#pragma once

#include <functional>
#include <string>

#include "tool/package/package_plan.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

// Makes the source give the tracks that the options name. Warns where it has several of a kind and the
// options name none. Throws UserError when it has no such track.
void chooseTracks(SampleSource& source, const PackageOptions& options,
                  const std::function<void(const std::string&)>& warn);

}  // namespace fmp4
