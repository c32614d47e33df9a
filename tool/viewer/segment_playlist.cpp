#include "tool/viewer/segment_playlist.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <vector>

#include "base/number_text.h"
#include "base/user_error.h"
#include "streaming/lists/playlist_text.h"
#include "streaming/lists/uri.h"
#include "tool/viewer/parameters.h"
#include "tool/viewer/relative_fragments.h"

namespace fmp4 {

namespace {

// Seconds after which a segment ends with the next key frame, and without one.
constexpr std::uint64_t kSegmentSeconds = 4, kMostSeconds = 30;

// Some seconds at half a gigabit a second.
constexpr std::uint64_t kMostSegmentBytes = 256u << 20;

struct PlayedSegment {
  std::uint64_t start = 0;  // bytes
  std::uint64_t end = 0;
  std::uint64_t ticks = 0;  // duration
};

struct Cut {
  std::vector<PlayedSegment> segments;
  bool independent = true;  // whether all begin with key frames
  std::uint64_t longest = 0;
};

Cut cutIntoSegments(const FragmentTable& table) {
  std::vector<TimedFragment> fragments = table.fragments();
  std::sort(fragments.begin(), fragments.end(),
            [](const TimedFragment& a, const TimedFragment& b) { return a.offset < b.offset; });
  Cut cut;
  cut.independent = fragments.front().key;
  std::uint64_t start = fragments.front().offset, startTicks = fragments.front().decodeTicks;
  const auto close = [&](std::uint64_t end, std::uint64_t ticks) {
    cut.segments.push_back({start, end, ticks - std::min(startTicks, ticks)});
    cut.longest = std::max(cut.longest, cut.segments.back().ticks);
    start = end;
    startTicks = ticks;
  };
  for (const TimedFragment& fragment : fragments) {
    const std::uint64_t ticks = fragment.decodeTicks - std::min(startTicks, fragment.decodeTicks);
    const bool tooLong = ticks >= kMostSeconds * table.timescale();
    if (ticks < kSegmentSeconds * table.timescale() || (!fragment.key && !tooLong)) continue;
    cut.independent = cut.independent && fragment.key;
    close(fragment.offset, fragment.decodeTicks);
  }
  close(table.mediaEnd(), table.endTicks());
  return cut;
}

// The entry of a segment that is made from a part of the file.
std::string madeEntry(const PlaylistSettings& settings, const PlayedSegment& segment,
                      const std::string& name) {
  return "#EXTINF:" + fixedText(static_cast<double>(segment.ticks) / settings.rate, 3) + ",\n" +
         uriOfName("/data/segment/" + name) + "?start=" + std::to_string(segment.start) +
         "&end=" + std::to_string(segment.end) + "\n";
}

}  // namespace

std::string segmentPlaylist(const FragmentTable& table, const std::string& name) {
  const std::string address = "/media/" + name;
  if (!table.statesTimes())
    throw UserError(
        "its fragments do not say when they play, so that players cannot place them; 'fmp4 package' makes a "
        "recording that they play");
  const Cut cut = cutIntoSegments(table);
  PlaylistSettings settings;
  settings.mediaName = address;
  settings.rate = table.timescale();
  const double longest = static_cast<double>(cut.longest) / settings.rate;
  std::string text = "#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-TARGETDURATION:" +
                     std::to_string(static_cast<std::uint64_t>(std::ceil(longest))) +
                     "\n#EXT-X-PLAYLIST-TYPE:VOD\n";
  if (cut.independent) text += "#EXT-X-INDEPENDENT-SEGMENTS\n";
  text += playlistMapLine(address) + ",BYTERANGE=\"" + std::to_string(table.movieEnd()) + "@0\"\n";
  for (const PlayedSegment& segment : cut.segments)
    text += table.placesInFile() ? madeEntry(settings, segment, name)
                                 : playlistEntry(settings, segment.ticks, segment.start, segment.end);
  return text + kPlaylistEnd;
}

std::string segmentBytes(const DataRequest& request) {
  constexpr std::uint64_t kAnyOffset = std::numeric_limits<std::int64_t>::max();
  const std::uint64_t start = wholeNumber(request, "start", kAnyOffset).value_or(0);
  const std::uint64_t end = wholeNumber(request, "end", kAnyOffset).value_or(0);
  if (start >= end || end - start > kMostSegmentBytes)
    throw BadRequest("'start' and 'end' are those of a segment in the playlist");
  std::string bytes(static_cast<std::size_t>(end - start), '\0');
  std::ifstream file(request.file, std::ios::binary);
  file.seekg(static_cast<std::streamoff>(start));
  if (!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
    throw BadRequest("the file ends before 'end'");
  if (!makeFragmentsRelative({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}, start))
    throw UserError(
        "the fragments cannot be made such that players accept them; 'fmp4 package' makes a recording");
  return bytes;
}

}  // namespace fmp4
