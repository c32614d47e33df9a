// Any bytes as a recorded media file, scanned and listed; and any text as its manifests and playlists.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "recording/check/list_difference.h"
#include "recording/check/recorded_media.h"

namespace fmp4 {

namespace {

// No scanned range is outside the file, and the complete ones cover it up to its end.
void check(const RecordedMedia& media) {
  if (media.end() > media.size()) std::abort();
  std::uint64_t at = media.initialisationLength();
  for (const RecordedMedia::Segment& segment : media.segments()) {
    if (segment.start != at || segment.fragments == 0) std::abort();
    media.positions(segment);
    media.indexBytes(segment);
    at = media.endOffset(segment);
  }
  if (media.movie() && at != media.end()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Mp4MemoryStream stream(data, size);
  ProblemList problems;
  try {
    check(RecordedMedia(stream, "out.m4v", RecordedMedia::Data::All, problems));
  } catch (const NotRecorded&) {
  }
  // A text equals itself if it is a document at all.
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view first = text.substr(0, size / 2), second = text.substr(size / 2);
  const std::string itself = manifestDifference(first, first);
  if (!itself.empty() && itself != manifestDifference("<a/>", first)) std::abort();
  if (!first.empty() && first.ends_with('\n') && !playlistDifference(first, first).empty()) std::abort();
  playlistDifference(first, second);
  manifestDifference(first, second);
  return 0;
}

}  // namespace fmp4
