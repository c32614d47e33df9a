#include "streaming/lists/playlist_text.h"

#include <algorithm>
#include <limits>

#include "base/number_text.h"
#include "streaming/lists/uri.h"

namespace fmp4 {

std::uint32_t playlistTargetDuration(std::uint64_t segmentLength, double rate) {
  constexpr double kMax = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(static_cast<double>(segmentLength) / rate + 0.5, kMax));
}

std::string playlistMapLine(const std::string& mediaName) {
  return "#EXT-X-MAP:URI=\"" + uriOfName(mediaName) + "\"";
}

std::string playlistHeader(const PlaylistSettings& settings) {
  return "#EXTM3U\n"
         "#EXT-X-VERSION:7\n"
         "#EXT-X-TARGETDURATION:" +
         std::to_string(playlistTargetDuration(settings.segmentLength, settings.rate)) +
         "\n"
         "#EXT-X-MEDIA-SEQUENCE:0\n"
         "#EXT-X-INDEPENDENT-SEGMENTS\n" +
         playlistMapLine(settings.mediaName) + ",BYTERANGE=\"" +
         std::to_string(settings.initialisationLength) +
         "@0\"\n"
         "#EXT-X-PROGRAM-DATE-TIME:" +
         settings.startTime + "\n";
}

std::string playlistEntry(const PlaylistSettings& settings, std::uint64_t positions, std::uint64_t start,
                          std::uint64_t end) {
  return "#EXTINF:" + fixedText(static_cast<double>(positions) / settings.rate, 3) +
         ",\n"
         "#EXT-X-BYTERANGE:" +
         std::to_string(end - start) + "@" + std::to_string(start) + "\n" + uriOfName(settings.mediaName) +
         "\n";
}

}  // namespace fmp4
