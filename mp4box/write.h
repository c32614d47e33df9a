// Writing boxes from their records. No writer looks at the results of the primitives: a place to write
// that fails tells its owner itself.
#pragma once

#include "mp4box/box.h"
#include "mp4box/boxes/ftyp.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/field_writer.h"
#include "mp4box/fragment.h"
#include "mp4box/movie.h"
#include "mp4box/output.h"

// Writes a box without a payload of its own, whose content `children()` writes. Returns where it stands.
template <class Children>
Mp4BoxMark Mp4WriteContainer(Mp4Output& out, std::uint32_t type, Children children) {
  Mp4BoxMark mark;
  Mp4BoxBegin(out, mark, type);
  children();
  Mp4BoxEnd(out, mark);
  return mark;
}

// Writes a box of the payload's fields and, behind them, what `children()` writes. Returns where it stands.
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

// "moov": the header, the movie extends box and a track box for each track that exists.
void Mp4WriteMovie(Mp4Output& out, mp4::Movie& movie);

// "stsd" with the one sample entry that a track's media has.
void Mp4WriteSampleDescription(Mp4Output& out, mp4::Track& track);

// Where the tracks' bytes start within the payload of the media data box that follows a fragment. The
// video's start it.
struct Mp4DataOffsets {
  std::uint32_t audio = 0;
  std::uint32_t captions608 = 0;
  std::uint32_t captions708 = 0;
};

// "moof". The runs' data offsets are counted from its first byte, on the understanding that its media data
// box follows at once; a run whose track fragment has a base offset of its own keeps its data offset.
// Returns the size of the box in bytes.
std::uint32_t Mp4WriteMovieFragment(Mp4Output& out, mp4::MovieFragment& fragment,
                                    const Mp4DataOffsets& offsets);

// "mdat" with `count` bytes.
void Mp4WriteMediaData(Mp4Output& out, const void* bytes, std::uint32_t count);

void Mp4WriteSegmentIndex(Mp4Output& out, mp4::SegmentIndexBox& sidx);
