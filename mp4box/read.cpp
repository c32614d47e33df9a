// Reading box trees.
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "base/bytes.h"
#include "mp4box/box.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/hdlr.h"
#include "mp4box/boxes/text_entry.h"
#include "mp4box/boxes/timed_text_entry.h"
#include "mp4box/boxes/visual_entry.h"
#include "mp4box/field_reader.h"
#include "mp4box/file_bytes.h"
#include "mp4box/window_stream.h"

namespace fmp4 {

namespace {

// Size, type, 64-bit size and extended type.
constexpr std::uint64_t kMaxHeader = 32;

// How many bytes larger than expected a fragment may be and still be read in one go: a few samples more,
// because equal durations do not always hold the same number of audio samples.
constexpr std::uint64_t kFragmentSizeTolerance = 32;

bool isUnderRoot(const Mp4Box& box) {
  return box.father && box.father->type == MP4_ROOT;
}
bool isTopLevel(const Mp4Box& box) {
  return !box.father || isUnderRoot(box);
}

void Append(Mp4Box* father, Mp4Box* box) {
  (father->first ? father->last->next : father->first) = box;
  father->last = box;
}

// Records a top-level box. Returns false if memory is short.
bool Remember(Mp4RootState& state, Mp4Box* box) try {
  state.boxes.push_back(box);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

// A box may extend past the end of its parent; the bytes there are then read again as siblings of the parent.
// The bytes read again must not exceed the size of the file: a file of many boxes that all extend to its end
// would otherwise take quadratic time and memory.
bool chargeOverrun(Mp4Stream& stream, const Mp4Box& box, Mp4RootState* state) {
  if (isTopLevel(box) || box.end() <= box.father->end()) return true;
  if (!state) return false;
  const std::uint64_t size = stream.size();
  state->overrun += std::min(box.end(), size) - std::min(box.father->end(), size);
  return state->overrun <= std::min(size, state->maxOverrun);
}

// Notes in the root above `father`, if there is one, that a box is missing for want of memory.
void noteShortMemory(Mp4Box* father) {
  while (father && father->father) father = father->father;
  if (auto* const state = Mp4PayloadOf<Mp4RootState>(father)) state->memoryShort = true;
}

// Whether a box is acceptable: limits on depth, on overrun of its parent and on the number of boxes.
bool isAcceptable(Mp4Stream& stream, const Mp4Box& box) {
  unsigned depth = 0;
  Mp4Box* top = nullptr;
  for (Mp4Box* father = box.father; father; father = father->father) {
    if (++depth > MP4_MAX_DEPTH) return false;
    top = father;
  }
  auto* const state = Mp4PayloadOf<Mp4RootState>(top);
  return chargeOverrun(stream, box, state) && (!state || state->admit(box, isTopLevel(box)));
}

// After more than a few consecutive small boxes, reads ahead as many bytes as they took.
std::uint64_t beforeSmallBoxes(const Mp4RootState& state) {
  constexpr std::uint64_t kFew = 256, kMost = 64 << 10;
  return state.smallBoxBytes < kFew ? 0 : std::min(state.smallBoxBytes, kMost);
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

bool Mp4ReadBoxHeader(Mp4Stream& stream, Mp4Box& box) {
  box = Mp4Box{};
  std::array<std::uint8_t, kMaxHeader> header{};
  const std::int64_t peeked = stream.peek(header.data(), header.size());
  if (peeked < 8) return false;
  box.position = stream.tell();
  box.shortsize = Mp4LoadU32(&header[0]);
  box.type = Mp4LoadU32(&header[4]);
  box.size = box.shortsize;
  if (box.shortsize == 1) box.size = peeked >= 16 ? Mp4LoadU64(&header[8]) : 0;
  const unsigned headerSize = Mp4BoxHeaderSize(box);
  if (box.type == Mp4FourCc("uuid"))
    std::memcpy(box.uuid, &header[headerSize - sizeof(box.uuid)], sizeof(box.uuid));
  if (box.size == 0) return true;
  return box.size >= headerSize && box.size <= std::numeric_limits<std::uint64_t>::max() - box.position;
}

Mp4Box* Mp4ReadBox(Mp4Stream& stream, Mp4Box* father) try {
  Mp4BoxPtr box(new Mp4Box);
  if (!Mp4ReadBoxHeader(stream, *box) || box->size == 0) return nullptr;
  box->father = father;
  if (!isAcceptable(stream, *box) || !Mp4FindBoxType(box->type).reader(stream, *box)) return nullptr;
  return box.release();
} catch (const std::bad_alloc&) {
  noteShortMemory(father);
  return nullptr;
}

int Mp4SeekNextBox(Mp4Stream& stream, const Mp4Box& box) {
  if (box.size == 0) return 2;
  if (!box.father || box.father->end() <= box.end()) return 0;
  return stream.seek(box.end()) ? 1 : 0;
}

bool Mp4ReadChildren(Mp4Stream& stream, Mp4Box* father) {
  const std::uint64_t at = stream.tell();
  if (at > father->end() || father->end() - at < 8) return false;
  while (Mp4Box* box = Mp4ReadBox(stream, father)) {
    Append(father, box);
    if (Mp4SeekNextBox(stream, *box) != 1) break;
  }
  return true;
}

namespace {

// Reads the next top-level box with `read(source)`, which receives a stream at its first byte and returns the
// box, or null if it cannot be read. Returns whether another may follow.
template <class Read>
bool readNext(Mp4Stream& stream, Mp4Box* root, Read read) {
  auto* state = Mp4PayloadOf<Mp4RootState>(root);
  if (!state || state->ended) return false;
  // Reads a fragment of about the same size as the previous ones in one go, together with the next header.
  // Likewise many small boxes.
  const std::uint64_t expected = state->fragmentBytes > 0 ? state->fragmentBytes + kFragmentSizeTolerance : 0;
  const std::uint64_t ahead = std::max(expected, beforeSmallBoxes(*state)) + kMaxHeader;
  Mp4WindowStream window(stream, state->window, root->size, ahead);
  const bool inMemory = stream.view(state->nextOffset, 0) != nullptr;
  Mp4Stream& source = inMemory ? stream : window;
  state->ended = true;
  if (!source.seek(state->nextOffset)) return false;
  const Mp4Box* const box = read(source);
  if (!box) return false;
  state->passed(*box);
  state->nextOffset = box->end();
  state->ended = Mp4SeekNextBox(source, *box) == 0;
  return !state->ended;
}

}  // namespace

bool Mp4ReadNextBox(Mp4Stream& stream, Mp4Box* root) {
  return readNext(stream, root, [root](Mp4Stream& source) -> const Mp4Box* {
    Mp4BoxPtr read(Mp4ReadBox(source, root));
    if (!read || !Remember(*Mp4PayloadOf<Mp4RootState>(root), read.get())) return nullptr;
    Mp4Box* const box = read.release();
    Append(root, box);
    return box;
  });
}

bool Mp4PassNextBox(Mp4Stream& stream, Mp4Box* root, const Mp4BoxVisitor& visit) {
  Mp4Box header;
  return readNext(stream, root, [&](Mp4Stream& source) -> const Mp4Box* {
    if (!Mp4ReadBoxHeader(source, header) || header.size == 0) return nullptr;
    header.father = root;
    if (!isAcceptable(source, header)) return nullptr;
    visit(source, header);
    return &header;
  });
}

Mp4Box* Mp4ReadRoot(Mp4Stream& stream, bool readAll) {
  Mp4BoxPtr root(new (std::nothrow) Mp4Box);
  if (!root || !(root->data = new (std::nothrow) Mp4RootState)) return nullptr;
  root->type = MP4_ROOT;
  root->shortsize = 1;
  root->size = stream.size();
  while (Mp4ReadNextBox(stream, root.get()) && (readAll || root->last->type != Mp4FourCc("moov"))) {
  }
  return root.release();
}

bool Mp4ReadContainer(Mp4Stream& stream, Mp4Box& box) {
  const std::uint64_t children = box.position + Mp4BoxHeaderSize(box);
  if (box.size <= Mp4BoxHeaderSize(box) + 8u) return true;
  if (isTopLevel(box)) {
    // Reads as much of it as the file contains in one go if memory allows, together with the header of the
    // next box.
    const std::uint64_t size = std::max(stream.size(), box.position);
    const std::uint64_t held = std::min(box.end(), size) - box.position;
    const std::uint64_t withNext = std::min(held + kMaxHeader, size - box.position);
    Mp4FileBytes bytes;
    if (const std::uint8_t* data = bytes.get(stream, box.position, withNext)) {
      Mp4MemoryStream memory(data, held, box.position);
      return memory.seek(children) && Mp4ReadChildren(memory, &box);
    }
  }
  return stream.seek(children) && Mp4ReadChildren(stream, &box);
}

bool Mp4ReadMediaData(Mp4Stream& stream, Mp4Box& box) {
  if (box.type != Mp4FourCc("free") || !isUnderRoot(box)) return true;
  // A "free" box may contain a movie box, whose first child then starts at the content of the "free" box.
  std::array<std::uint8_t, 44> start{};
  stream.peek(start.data(), start.size());
  const unsigned header = Mp4BoxHeaderSize(box);
  if (box.size < header + 8) return true;
  const std::uint32_t inner = Mp4LoadU32(&start[header + 4]);
  if (inner != Mp4FourCc("cmov") && inner != Mp4FourCc("mvhd")) return true;
  box.type = Mp4FourCc("foov");
  return Mp4ReadContainer(stream, box);
}

bool Mp4ReadCompressedMovie(Mp4Stream&, Mp4Box& box) {
  const std::uint32_t father = box.father ? box.father->type : 0;
  // Compressed movie headers are not decompressed: inside a movie box they are dropped unread.
  if (father == Mp4FourCc("moov") || father == Mp4FourCc("foov")) return false;
  box.data = Mp4FindBoxType(box.type).make();
  return true;
}

bool Mp4ReadUnknown(Mp4Stream& stream, Mp4Box& box) {
  if (!box.father || box.father->type != Mp4FourCc("stsd")) return true;
  std::unique_ptr<Mp4Payload> payload = makeSampleEntryByHandler(box);
  return !payload || Mp4ReadPayload(stream, box, std::move(payload), true);
}

bool Mp4ReadLeaf(Mp4Stream& stream, Mp4Box& box) {
  return Mp4ReadPayload(stream, box, std::unique_ptr<Mp4Payload>(Mp4FindBoxType(box.type).make()), false);
}

bool Mp4ReadLeafWithChildren(Mp4Stream& stream, Mp4Box& box) {
  return Mp4ReadPayload(stream, box, std::unique_ptr<Mp4Payload>(Mp4FindBoxType(box.type).make()), true);
}

bool Mp4ReadPayload(Mp4Stream& stream, Mp4Box& box, std::unique_ptr<Mp4Payload> payload, bool children) {
  const unsigned header = Mp4BoxHeaderSize(box);
  std::uint64_t taken = 0;
  {
    Mp4FileBytes bytes;
    const std::uint8_t* data = bytes.get(stream, box.position, box.size);
    if (!data) return false;
    if (box.father && box.father->data) payload->readInside(*box.father->data);
    Mp4FieldReader reader({data + header, static_cast<std::size_t>(box.size - header)});
    payload->fields(reader);
    taken = reader.consumed();
  }
  box.data = payload.release();
  // If there is no space for a child the box consists of its fields only.
  if (children && stream.seek(box.position + header + taken)) Mp4ReadChildren(stream, &box);
  return true;
}

}  // namespace fmp4
