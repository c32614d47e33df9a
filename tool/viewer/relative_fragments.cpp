#include "tool/viewer/relative_fragments.h"

#include <cstring>
#include <limits>
#include <optional>

#include "base/bytes.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trun.h"

namespace fmp4 {

namespace {

using BoxBytes = std::span<std::uint8_t>;

constexpr std::size_t kHeader = 8;             // size and type
constexpr std::size_t kFullHeader = 12;        // and version and flags
constexpr std::size_t kBaseDataOffsetAt = 16;  // in a "tfhd", after the track ID
constexpr std::size_t kDataOffsetAt = 16;      // in a "trun", after the sample count

void storeU32(std::uint8_t* p, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) *p++ = static_cast<std::uint8_t>(value >> shift);
}

std::uint32_t typeOf(BoxBytes box) {
  return Mp4LoadU32(box.data() + 4);
}
std::uint32_t flagsOf(BoxBytes box) {
  return Mp4LoadU24(box.data() + 9);
}

// Calls each(box, place) for the boxes in `bytes`, until it returns false. Boxes of 64-bit sizes are not
// changed, whatever they are: fragments are small. Returns whether all are whole and each() liked them.
template <class Each>
bool forEachBox(BoxBytes bytes, Each each) {
  for (std::size_t at = 0; at != bytes.size();) {
    const std::size_t left = bytes.size() - at;
    if (left < kHeader) return false;
    std::uint64_t size = Mp4LoadU32(bytes.data() + at);
    const bool large = size == 1;
    if (large && left < 2 * kHeader) return false;
    if (large) size = Mp4LoadU64(bytes.data() + at + kHeader);
    if (size < kHeader || size > left) return false;
    if (!large && !each(bytes.subspan(at, static_cast<std::size_t>(size)), at)) return false;
    at += static_cast<std::size_t>(size);
  }
  return true;
}

// Takes the base data offset out of a "tfhd", whose place an empty box fills, so that nothing moves. Returns
// the offset; nothing when it has none.
std::optional<std::uint64_t> takeBase(BoxBytes tfhd) {
  using Header = mp4::TrackFragmentHeaderBox;
  const std::uint32_t flags = flagsOf(tfhd);
  if (!(flags & Header::kBaseDataOffset) || tfhd.size() < kBaseDataOffsetAt + 8) return std::nullopt;
  const std::uint64_t base = Mp4LoadU64(tfhd.data() + kBaseDataOffsetAt);
  const std::size_t size = tfhd.size() - 8;
  std::memmove(tfhd.data() + kBaseDataOffsetAt, tfhd.data() + kBaseDataOffsetAt + 8,
               size - kBaseDataOffsetAt);
  storeU32(tfhd.data(), static_cast<std::uint32_t>(size));
  const std::uint32_t version = Mp4LoadU32(tfhd.data() + 8) & 0xFF000000u;
  storeU32(tfhd.data() + 8, version | (flags & ~Header::kBaseDataOffset) | Header::kDefaultBaseIsMoof);
  storeU32(tfhd.data() + size, kHeader);
  storeU32(tfhd.data() + size + 4, Mp4FourCc("free"));
  return base;
}

// Adds `shift` to the place of a run's data.
bool moveRun(BoxBytes trun, std::uint64_t shift) {
  if (trun.size() < kDataOffsetAt + 4 || !(flagsOf(trun) & mp4::TrackRunBox::kDataOffset)) return false;
  const auto old = static_cast<std::int32_t>(Mp4LoadU32(trun.data() + kDataOffsetAt));
  const auto offset = static_cast<std::int64_t>(shift + static_cast<std::uint64_t>(std::int64_t{old}));
  using Limits = std::numeric_limits<std::int32_t>;
  if (offset < Limits::min() || offset > Limits::max()) return false;
  storeU32(trun.data() + kDataOffsetAt, static_cast<std::uint32_t>(offset));
  return true;
}

// `position`: of the "moof" in its file.
bool makeTrackRelative(BoxBytes traf, std::uint64_t position) {
  std::optional<std::uint64_t> base;
  return forEachBox(traf.subspan(kHeader), [&](BoxBytes box, std::size_t) {
    if (box.size() < kFullHeader) return true;
    if (typeOf(box) == box_type::kTfhd && !base) base = takeBase(box);
    return typeOf(box) != box_type::kTrun || !base || moveRun(box, *base - position);
  });
}

}  // namespace

bool makeFragmentsRelative(BoxBytes bytes, std::uint64_t position) {
  return forEachBox(bytes, [&](BoxBytes box, std::size_t at) {
    if (typeOf(box) != box_type::kMoof) return true;
    return forEachBox(box.subspan(kHeader), [&](BoxBytes traf, std::size_t) {
      return typeOf(traf) != box_type::kTraf || makeTrackRelative(traf, position + at);
    });
  });
}

}  // namespace fmp4
