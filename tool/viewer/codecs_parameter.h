// The codecs of a file as players ask for them before they play it.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// The "codecs" parameter (RFC 6381) of each video and audio track in the files that the plug-in opens for
// `name`, in file order, whether the plug-in reads it or not: "avc1.64001e", "hvc1.1.6.L93.90", "mp4a.40.2".
// The type of the sample entry alone where no more is known.
std::vector<std::string> codecsOf(const std::string& name);

}  // namespace fmp4
