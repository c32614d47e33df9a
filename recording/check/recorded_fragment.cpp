#include "recording/check/recorded_fragment.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bytes.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trun.h"
#include "mp4box/sample_flags.h"
#include "recording/check/defect_reason.h"
#include "recording/track_number.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;
using Header = mp4::TrackFragmentHeaderBox;

// The flags of the first sample of a run (ISO/IEC 14496-12, 8.8.8.1).
std::uint32_t firstFlags(const mp4::TrackRunBox& trun, const Header& tfhd, const RecordedTrack& track) {
  if (trun.hasFirstSampleFlags()) return trun.firstSampleFlags;
  if (trun.hasFlags()) return trun.sampleFlags(0);
  return tfhd.flags & Header::kDefaultSampleFlags ? tfhd.defaultSampleFlags : track.defaultSampleFlags;
}

// Sample counts and bytes are bounded by the media data: sums are checked against these below.
void sumUp(const mp4::TrackRunBox& trun, const Header& tfhd, const RecordedTrack& track, RecordedRun& run) {
  const std::uint64_t duration =
      tfhd.flags & Header::kDefaultSampleDuration ? tfhd.defaultSampleDuration : track.defaultSampleDuration;
  const std::uint64_t size =
      tfhd.flags & Header::kDefaultSampleSize ? tfhd.defaultSampleSize : track.defaultSampleSize;
  run.samples = trun.sampleCount;
  run.startsWithKey = run.samples != 0 && !(firstFlags(trun, tfhd, track) & mp4::kNonSync);
  run.ticks = run.samples * duration;
  run.bytes = run.samples * size;
  if (trun.hasDuration()) {
    run.ticks = 0;
    for (std::uint32_t i = 0; i < trun.sampleCount; ++i) run.ticks += trun.duration(i);
  }
  if (trun.hasSize()) {
    run.bytes = 0;
    for (std::uint32_t i = 0; i < trun.sampleCount; ++i) run.bytes += trun.size(i);
  }
}

// Why a track fragment is invalid, or nothing. `dataEnd` is the end of the previous track's data.
std::string readTrack(Mp4Box* moof, Mp4Box* traf, const RecordedMovie& movie, std::uint64_t& dataEnd,
                      RecordedFragment& fragment) {
  const auto* tfhd = Mp4PayloadOf<Header>(Mp4BoxChild(traf, box_type::kTfhd));
  const auto* tfdt = Mp4PayloadOf<mp4::TrackFragmentDecodeTimeBox>(Mp4BoxChild(traf, box_type::kTfdt));
  const auto* trun = Mp4PayloadOf<mp4::TrackRunBox>(Mp4BoxChild(traf, box_type::kTrun));
  if (!tfhd || !tfdt || !trun) return "a track fragment lacks its header, its decode time or its run";
  const std::string name = "track " + std::to_string(tfhd->trackId);
  if (Mp4BoxChild(traf, box_type::kTrun, 1)) return name + " has more than one run in a fragment";
  const auto kind = kindOfTrackNumber(tfhd->trackId);
  if (!kind || !movie.tracks[*kind]) return "the fragment has samples of " + name + ", which does not exist";
  if (fragment.runs[*kind]) return name + " appears twice in a fragment";
  RecordedRun& run = fragment.runs[*kind].emplace();
  run.decodeTime = tfdt->baseMediaDecodeTime;
  sumUp(*trun, *tfhd, *movie.tracks[*kind], run);
  const bool placed = trun->hasDataOffset() && trun->dataOffset > 0 &&
                      !(tfhd->flags & Header::kBaseDataOffset) && (tfhd->flags & Header::kDefaultBaseIsMoof);
  run.offset = moof->position + static_cast<std::uint64_t>(placed ? trun->dataOffset : 0);
  if (!placed || run.offset != dataEnd)
    return "the data offset of " + name + " does not point to its samples";
  if (run.bytes > fragment.end - dataEnd) return "the samples of " + name + " exceed the media data";
  dataEnd += run.bytes;
  return "";
}

// The end of the "mdat" at `offset`; 0 when no complete one is there.
std::uint64_t mediaDataEnd(Mp4Stream& stream, std::uint64_t offset) {
  Mp4Box mdat;
  const std::uint64_t size = stream.size();
  if (offset > size || !stream.seek(offset) || !Mp4ReadBoxHeader(stream, mdat).ok()) return 0;
  const bool complete =
      mdat.type == box_type::kMdat && mdat.size >= kBoxHeaderBytes && mdat.size <= size - offset;
  return complete ? offset + mdat.size : 0;
}

// Whether all of one or more bytes are zero: the first is, and each equals the one before.
bool isZero(const std::uint8_t* bytes, std::ptrdiff_t count) {
  return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, static_cast<std::size_t>(count - 1)) == 0;
}

}  // namespace

std::variant<RecordedFragment, std::string> readRecordedFragment(Mp4Stream& stream, std::uint64_t offset,
                                                                 const RecordedMovie& movie) {
  const std::uint64_t size = stream.size();
  Mp4Box header;
  if (!stream.seek(offset) || !Mp4ReadBoxHeader(stream, header).ok() || header.type != box_type::kMoof)
    return "there is no fragment here";
  if (header.size < 8 || header.size > size - offset) return "the fragment's boxes are truncated";
  Mp4BoxPtr moof;
  if (const Result read = Mp4ReadBox(stream, nullptr, moof); !read.ok())
    return "the fragment cannot be read: " + defectReason(read);
  const auto* mfhd = Mp4PayloadOf<mp4::MovieFragmentHeaderBox>(Mp4BoxChild(moof.get(), box_type::kMfhd));
  if (!mfhd) return "the fragment lacks its header";
  RecordedFragment fragment;
  fragment.start = offset;
  fragment.sequenceNumber = mfhd->sequenceNumber;
  fragment.end = mediaDataEnd(stream, moof->end());
  if (fragment.end == 0) return "the fragment's media data are missing or truncated";
  std::uint64_t dataEnd = moof->end() + kBoxHeaderBytes;
  if (moof->first->type != box_type::kMfhd) return "the fragment's header is not at its start";
  Mp4Box* child = moof->first->next;
  for (; child && child->type == box_type::kTraf; child = child->next) {
    std::string reason = readTrack(moof.get(), child, movie, dataEnd, fragment);
    if (!reason.empty()) return reason;
  }
  if (child || moof->last->end() != moof->end() || moof->first == moof->last)
    return "the fragment does not consist of its header and its tracks";
  if (dataEnd != fragment.end) return "the fragment's samples do not add up to its media data";
  return fragment;
}

bool hasUnwrittenData(Mp4Stream& stream, std::uint64_t begin, std::uint64_t end, std::ptrdiff_t minimum) {
  constexpr std::uint64_t kBlock = 4096, kPiece = 64 * kBlock;
  std::vector<std::uint8_t> bytes;
  while (begin < end) {
    const std::uint64_t pieceEnd = std::min(end, begin / kPiece * kPiece + kPiece);
    bytes.resize(static_cast<std::size_t>(pieceEnd - begin));
    const auto size = static_cast<std::int64_t>(bytes.size());
    if (!stream.seek(begin) || stream.read(bytes.data(), size) != size) return true;
    auto firstOfBlock = bytes.begin();
    auto left = static_cast<std::ptrdiff_t>(kBlock - begin % kBlock);  // in the block
    while (firstOfBlock != bytes.end()) {
      const auto endOfBlock = firstOfBlock + std::min(left, bytes.end() - firstOfBlock);
      if (endOfBlock - firstOfBlock >= minimum && isZero(&*firstOfBlock, endOfBlock - firstOfBlock))
        return true;
      firstOfBlock = endOfBlock;
      left = kBlock;
    }
    begin = pieceEnd;
  }
  return false;
}

std::optional<std::uint64_t> findFragment(Mp4Stream& stream, std::uint64_t from,
                                          std::uint32_t sequenceNumber) {
  constexpr std::size_t kPiece = 1u << 20;
  // Size and type of the "moof", and its complete "mfhd": size, type, version and flags, sequence number.
  constexpr std::size_t kStart = 8 + 16;
  constexpr std::array<std::uint8_t, 4> kType = {'m', 'o', 'o', 'f'};
  std::vector<std::uint8_t> bytes;
  const std::uint64_t size = stream.size();
  for (std::uint64_t offset = from; offset < size; offset += kPiece) {
    // Pieces overlap, so that no start is split between two.
    bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kPiece + kStart - 1, size - offset)));
    const auto count = static_cast<std::int64_t>(bytes.size());
    if (!stream.seek(offset) || stream.read(bytes.data(), count) != count) return std::nullopt;
    for (auto at = bytes.begin();; ++at) {
      at = std::search(at, bytes.end(), kType.begin(), kType.end());
      if (at == bytes.end()) break;
      const auto place = static_cast<std::size_t>(at - bytes.begin());
      if (place < 4 || bytes.size() - (place - 4) < kStart) continue;
      const std::uint8_t* const moof = &bytes[place - 4];
      const bool starts = Mp4LoadU32(moof + 8) == 16 && Mp4LoadU32(moof + 12) == box_type::kMfhd &&
                          Mp4LoadU32(moof + 20) > sequenceNumber;
      const std::uint64_t start = offset + place - 4;
      if (starts && mediaDataEnd(stream, start + Mp4LoadU32(moof)) != 0) return start;
    }
  }
  return std::nullopt;
}

}  // namespace fmp4
