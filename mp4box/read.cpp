// Reading box trees.
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "base/bytes.h"
#include "mp4box/box_header.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/text_entry.h"
#include "mp4box/boxes/timed_text_entry.h"
#include "mp4box/boxes/visual_entry.h"
#include "mp4box/field_reader.h"
#include "mp4box/file_bytes.h"
#include "mp4box/tree.h"

namespace fmp4 {

namespace {

bool isTopLevel(const Mp4Box& box) {
  return !box.father || box.father->isRoot();
}

Result checkDepth(const Mp4Box& box) {
  unsigned depth = 0;
  for (const Mp4Box* father = box.father; father; father = father->father) {
    if (++depth > MP4_MAX_DEPTH) return Defect::BoxesNestedTooDeep;
  }
  return {};
}

// Whether fewer bytes than a header has are left in the parent: four zero bytes may end QuickTime user data.
bool isAfterLastChild(const Mp4Box& box) {
  return !isTopLevel(box) && box.father->end() - box.position < 8;
}

// Why a box without a size cannot be read.
Result withoutSize(Mp4Stream& stream, const Mp4Box& box) {
  if (box.shortsize == 1)
    return stream.size() - box.position < 16 ? Defect::BoxHeaderTruncated : Defect::BoxSizeBelowHeader;
  // Zeros may fill the rest of a box.
  const bool endsLevel = !isTopLevel(box) && (box.type == 0 || isAfterLastChild(box));
  return endsLevel ? Defect::EndOfData : Defect::BoxSizeZero;
}

// QuickTime repeats the type of an audio sample entry inside it, in a box without its fields.
bool mayBeShort(const Mp4Box& box) {
  return box.father && box.father->type == Mp4FourCc("wave");
}

// The payload record of a sample entry of unknown type, chosen by the track's handler.
std::unique_ptr<Mp4Payload> makeSampleEntryByHandler(Mp4Box& box) {
  Mp4Box* media = Mp4BoxGet(nullptr, &box, true, "../../../..");
  if (!media || media->type != Mp4FourCc("mdia")) return nullptr;
  const auto* handler = Mp4PayloadOf<mp4::HandlerBox>(Mp4BoxChild(media, Mp4FourCc("hdlr")));
  switch (handler ? handler->handlerType : 0) {
    case Mp4FourCc("vide"):
      return std::make_unique<mp4::VisualSampleEntry>();
    case Mp4FourCc("soun"):
      return std::make_unique<mp4::AudioSampleEntry>();
    case Mp4FourCc("tx3g"):
    case Mp4FourCc("sbtl"):
      return std::make_unique<mp4::TimedTextSampleEntry>();
    case Mp4FourCc("text"):
      return std::make_unique<mp4::TextSampleEntry>();
    default:
      return nullptr;
  }
}

}  // namespace

Result Mp4ReadBoxHeader(Mp4Stream& stream, Mp4Box& box) {
  box = Mp4Box{};
  std::array<std::uint8_t, kMaxBoxHeaderBytes> header{};
  const std::int64_t peeked = stream.peek(header.data(), header.size());
  box.position = stream.tell();
  if (peeked <= 0) return Defect::EndOfData;
  if (peeked < 8) return Defect::BoxHeaderTruncated;
  box.shortsize = Mp4LoadU32(&header[0]);
  box.type = Mp4LoadU32(&header[4]);
  box.size = box.shortsize;
  if (box.shortsize == 1) box.size = peeked >= 16 ? Mp4LoadU64(&header[8]) : 0;
  const unsigned headerSize = Mp4BoxHeaderSize(box);
  if (box.type == Mp4FourCc("uuid"))
    std::memcpy(box.uuid, &header[headerSize - sizeof(box.uuid)], sizeof(box.uuid));
  if (box.size == 0) return {};
  if (box.size < headerSize) return Defect::BoxSizeBelowHeader;
  const bool fits = box.size <= std::numeric_limits<std::uint64_t>::max() - box.position;
  return fits ? Result() : Defect::BoxSizePast64Bits;
}

Result Mp4AdmitBox(Mp4Stream& stream, Mp4Box* father, Mp4Box& box) {
  const Result header = Mp4ReadBoxHeader(stream, box);
  box.father = father;
  box.tree = father ? father->tree : nullptr;
  if (header == Defect::BoxHeaderTruncated && isAfterLastChild(box)) return Defect::EndOfData;
  if (!header.ok()) return header;
  if (box.size == 0) return withoutSize(stream, box);
  if (const Result depth = checkDepth(box); !depth.ok()) return depth;
  if (box.tree) return box.tree->admit(stream, box);
  return isTopLevel(box) || box.end() <= father->end() ? Result() : Defect::BoxPastParent;
}

namespace {

Result readUnder(Mp4Stream& stream, Mp4Box* father, Mp4Box& header, Mp4BoxPtr& box) try {
  if (const Result admitted = Mp4AdmitBox(stream, father, header); !admitted.ok()) return admitted;
  box.reset(new Mp4Box(header));
  return Mp4FindBoxType(box->type).reader(stream, *box);
} catch (const std::bad_alloc&) {
  return Defect::OutOfMemory;
}

}  // namespace

Result Mp4ReadBox(Mp4Stream& stream, Mp4Box* father, Mp4BoxPtr& box) {
  Mp4Box header;
  const Result result = readUnder(stream, father, header, box);
  if (result.ok()) return result;
  box.reset();
  if (father && father->tree) father->tree->note(header, result);
  return result;
}

Mp4NextBox Mp4SeekNextBox(Mp4Stream& stream, const Mp4Box& box) {
  if (box.size == 0) return Mp4NextBox::Unsized;
  if (!box.father || box.father->end() <= box.end()) return Mp4NextBox::None;
  return stream.seek(box.end()) ? Mp4NextBox::Sibling : Mp4NextBox::None;
}

Result Mp4ReadChildren(Mp4Stream& stream, Mp4Box* father) {
  const std::uint64_t at = stream.tell();
  if (at > father->end() || father->end() - at < 8) return Defect::EndOfData;
  for (;;) {
    Mp4BoxPtr box;
    const Result read = Mp4ReadBox(stream, father, box);
    // Any other failure ends the level.
    if (read.kind() == DefectKind::NoMemory) return read;
    if (!read.ok()) return {};
    father->append(box.release());
    if (Mp4SeekNextBox(stream, *father->last) != Mp4NextBox::Sibling) return {};
  }
}

Result Mp4ReadContainer(Mp4Stream& stream, Mp4Box& box) {
  const std::uint64_t children = box.position + Mp4BoxHeaderSize(box);
  if (box.size <= Mp4BoxHeaderSize(box) + 8u) return {};
  if (isTopLevel(box)) {
    // Reads as much of it as the file contains in one go if memory allows, together with the header of the
    // next box.
    const std::uint64_t size = std::max(stream.size(), box.position);
    const std::uint64_t held = std::min(box.end(), size) - box.position;
    const std::uint64_t withNext = std::min(held + kMaxBoxHeaderBytes, size - box.position);
    Mp4FileBytes bytes;
    if (bytes.fetch(stream, box.position, withNext).ok()) {
      Mp4MemoryStream memory(bytes.data(), held, box.position);
      return memory.seek(children) ? Mp4ReadChildren(memory, &box) : Defect::BoxPastFile;
    }
  }
  return stream.seek(children) ? Mp4ReadChildren(stream, &box) : Defect::BoxPastFile;
}

Result Mp4ReadMediaData(Mp4Stream& stream, Mp4Box& box) {
  if (box.type != Mp4FourCc("free") || !box.father || !box.father->isRoot()) return {};
  // A "free" box may contain a movie box, whose first child then starts at the content of the "free" box.
  std::array<std::uint8_t, 44> start{};
  stream.peek(start.data(), start.size());
  const unsigned header = Mp4BoxHeaderSize(box);
  if (box.size < header + 8) return {};
  const std::uint32_t inner = Mp4LoadU32(&start[header + 4]);
  if (inner != Mp4FourCc("cmov") && inner != Mp4FourCc("mvhd")) return {};
  box.type = Mp4FourCc("foov");
  return Mp4ReadContainer(stream, box);
}

Result Mp4ReadCompressedMovie(Mp4Stream&, Mp4Box& box) {
  const std::uint32_t father = box.father ? box.father->type : 0;
  // Compressed movie headers are not decompressed: inside a movie box they are dropped unread.
  if (father == Mp4FourCc("moov") || father == Mp4FourCc("foov")) return Defect::CompressedMovie;
  box.data = Mp4FindBoxType(box.type).make();
  return {};
}

Result Mp4ReadUnknown(Mp4Stream& stream, Mp4Box& box) {
  if (!box.father || box.father->type != Mp4FourCc("stsd")) return {};
  std::unique_ptr<Mp4Payload> payload = makeSampleEntryByHandler(box);
  return payload ? Mp4ReadPayload(stream, box, std::move(payload), true) : Result();
}

Result Mp4ReadLeaf(Mp4Stream& stream, Mp4Box& box) {
  return Mp4ReadPayload(stream, box, std::unique_ptr<Mp4Payload>(Mp4FindBoxType(box.type).make()), false);
}

Result Mp4ReadLeafWithChildren(Mp4Stream& stream, Mp4Box& box) {
  return Mp4ReadPayload(stream, box, std::unique_ptr<Mp4Payload>(Mp4FindBoxType(box.type).make()), true);
}

Result Mp4ReadPayload(Mp4Stream& stream, Mp4Box& box, std::unique_ptr<Mp4Payload> payload, bool children) {
  const unsigned header = Mp4BoxHeaderSize(box);
  std::uint64_t taken = 0;
  {
    Mp4FileBytes bytes;
    if (const Result fetched = bytes.fetch(stream, box.position, box.size); !fetched.ok()) return fetched;
    if (box.father && box.father->data) payload->readInside(*box.father->data);
    Mp4FieldReader reader({bytes.data() + header, static_cast<std::size_t>(box.size - header)});
    payload->fields(reader);
    if (box.tree && !mayBeShort(box)) box.tree->note(box, reader.result());
    taken = reader.consumed();
  }
  box.data = payload.release();
  if (!children || !stream.seek(box.position + header + taken)) return {};
  // If there is no space for a child the box consists of its fields only.
  const Result below = Mp4ReadChildren(stream, &box);
  return below.kind() == DefectKind::NoMemory ? below : Result();
}

}  // namespace fmp4
