// What the host sees of a media-file object: the descriptions and channels that its base keeps.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "mediafile.h"

namespace fmp4 {

// The file-type code of the format record, also reported by the object and its descriptions.
inline constexpr std::uint32_t kFileTypeCode = 147;

// References into a media-file object, which outlives the view. Reading fills in the descriptions, and both
// reading and recording look at them on each request, as the host may change them at any time.
struct HostView {
  QVRSYSTEM& system;
  QVRVIDEO& video;
  QVRAUDIO& audio;
  QVRINFO& info;
  std::uint32_t& audioMask;      // one bit per audio channel of the file
  std::uint32_t& videoChannels;  // 0 or 1
  std::uint32_t& currentFrame;   // the last video frame read or written
  const std::vector<std::unique_ptr<QVRSTREAM>>& streams;
  // Returns a new, zeroed stream holder, owned by the object; null if there is none left.
  std::function<QVRSTREAM*()> addStream;

  // Sets the descriptions of a newly constructed object.
  void resetDescriptions() const;
  // Derives the main header from the two stream descriptions.
  void recomputeMainHeader() const;
  // The number of streams of a kind (QVR_KIND_*) in this object's own file.
  std::uint32_t countStreams(std::uint32_t kind) const;
};

}  // namespace fmp4
