// Writes "moof" and patches in the data offsets of the tracks.
#include "mp4box/box_header.h"
#include "mp4box/write.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

// Position of data_offset in a "trun": after the box header, version and flags, and sample_count.
constexpr std::uint64_t kDataOffsetPosition = kBoxHeaderBytes + 4 + 4;

std::uint32_t offsetOf(TrackKind kind, const Mp4DataOffsets& offsets) {
  switch (kind) {
    case TrackKind::Video:
      return 0;
    case TrackKind::Audio:
      return offsets.audio;
    case TrackKind::Captions608:
      return offsets.captions608;
    default:
      return offsets.captions708;
  }
}

// Whether the run has a data offset relative to the first byte of the fragment.
bool countsFromFragment(const mp4::TrackFragment& track) {
  using Header = mp4::TrackFragmentHeaderBox;
  return track.trun.hasDataOffset() && !(track.tfhd.flags & Header::kBaseDataOffset) &&
         (track.tfhd.flags & Header::kDefaultBaseIsMoof);
}

}  // namespace

std::uint32_t Mp4WriteMovieFragment(Mp4Output& out, mp4::MovieFragment& fragment,
                                    const Mp4DataOffsets& offsets) {
  mp4::PerTrack<std::uint64_t> places;  // file offsets of the data_offset fields
  const Mp4BoxMark moof = Mp4WriteContainer(out, Mp4FourCc("moof"), [&] {
    Mp4WriteBox(out, Mp4FourCc("mfhd"), fragment.mfhd);
    for (const TrackKind kind : mp4::kTrackKinds) {
      auto& track = fragment.tracks[kind];
      if (!track) continue;
      Mp4WriteContainer(out, Mp4FourCc("traf"), [&] {
        Mp4WriteBox(out, Mp4FourCc("tfhd"), track->tfhd);
        Mp4WriteBox(out, Mp4FourCc("tfdt"), track->tfdt);
        const Mp4BoxMark trun = Mp4WriteBox(out, Mp4FourCc("trun"), track->trun);
        if (countsFromFragment(*track)) places[kind] = trun.start + kDataOffsetPosition;
      });
    }
  });

  const auto size = static_cast<std::uint32_t>(moof.end - moof.start);
  for (const TrackKind kind : mp4::kTrackKinds) {
    if (!places[kind]) continue;
    out.seek(*places[kind]);
    Mp4WriteU32(out, size + kBoxHeaderBytes + offsetOf(kind, offsets));
  }
  out.seek(moof.end);
  return size;
}

}  // namespace fmp4
