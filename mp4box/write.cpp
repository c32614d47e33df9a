// Writes the top-level boxes without children.
#include "mp4box/write.h"

namespace fmp4 {

void Mp4WriteFileType(Mp4Output& out, mp4::FileTypeBox& ftyp) {
  Mp4WriteBox(out, Mp4FourCc("ftyp"), ftyp);
}

void Mp4WriteMediaData(Mp4Output& out, const void* bytes, std::uint32_t count) {
  Mp4WriteContainer(out, Mp4FourCc("mdat"), [&] { Mp4WriteBytes(out, bytes, count); });
}

void Mp4WriteSegmentIndex(Mp4Output& out, mp4::SegmentIndexBox& sidx) {
  Mp4WriteBox(out, Mp4FourCc("sidx"), sidx);
}

}  // namespace fmp4
