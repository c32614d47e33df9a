// Writes boxes from their records. Writers ignore the results of the primitives: an output that fails reports
// this to its owner itself.
#pragma once

#include "mp4box/box.h"
#include "mp4box/boxes/ftyp.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/field_writer.h"
#include "mp4box/fragment.h"
#include "mp4box/movie.h"
#include "mp4box/output.h"

namespace fmp4 {

// Writes a box without a payload of its own; `children()` writes its content. Returns its position.
template <class Children>
Mp4BoxMark Mp4WriteContainer(Mp4Output& out, std::uint32_t type, Children children) {
  Mp4BoxMark mark;
  Mp4BoxBegin(out, mark, type);
  children();
  Mp4BoxEnd(out, mark);
  return mark;
}

// Writes a box from the fields of the payload, followed by what `children()` writes. Returns its position.
template <class Children>
Mp4BoxMark Mp4WriteBox(Mp4Output& out, std::uint32_t type, Mp4Payload& payload, Children children) {
  return Mp4WriteContainer(out, type, [&] {
    Mp4FieldWriter fields(out);
    payload.fields(fields);
    children();
  });
}
inline Mp4BoxMark Mp4WriteBox(Mp4Output& out, std::uint32_t type, Mp4Payload& payload) {
  return Mp4WriteBox(out, type, payload, [] {});
}

void Mp4WriteFileType(Mp4Output& out, mp4::FileTypeBox& ftyp);

// "moov": the header, the movie extends box and one track box per track.
void Mp4WriteMovie(Mp4Output& out, mp4::Movie& movie);

// "stsd" with the single sample entry of a track.
void Mp4WriteSampleDescription(Mp4Output& out, mp4::Track& track);

// Offsets of the tracks' bytes in the payload of the media data box that follows a fragment. Video is at
// offset 0.
struct Mp4DataOffsets {
  std::uint32_t audio = 0;
  std::uint32_t captions608 = 0;
  std::uint32_t captions708 = 0;
};

// "moof". Data offsets of the runs are relative to its first byte, assuming that its media data box follows
// immediately; a run whose track fragment has its own base offset keeps its data offset. Returns the size of
// the box in bytes.
std::uint32_t Mp4WriteMovieFragment(Mp4Output& out, mp4::MovieFragment& fragment,
                                    const Mp4DataOffsets& offsets);

// "mdat" with `count` bytes.
void Mp4WriteMediaData(Mp4Output& out, const void* bytes, std::uint32_t count);

void Mp4WriteSegmentIndex(Mp4Output& out, mp4::SegmentIndexBox& sidx);

}  // namespace fmp4
