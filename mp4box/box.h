// The generic box node, reading box trees from a stream, and looking up boxes by path.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "base/fourcc.h"
#include "mp4box/fields.h"
#include "mp4box/file_bytes.h"
#include "mp4box/stream.h"
#include "mp4box/window_stream.h"

namespace fmp4 {

inline constexpr std::uint32_t MP4_ROOT = Mp4FourCc("root");

// One box. A box owns its children and its payload; children are kept in file order.
struct Mp4Box {
  std::uint64_t position = 0;   // file offset of the first byte (the size field)
  std::uint32_t type = 0;       // the four type bytes; "root" for the root of the tree
  std::uint32_t shortsize = 0;  // 32-bit size field as stored; 1: a 64-bit size follows
  std::uint8_t uuid[16] = {};   // extended type of a "uuid" box
  std::uint64_t size = 0;       // total size in bytes, including the header
  Mp4Payload* data = nullptr;   // payload record of the type; null if it has none
  Mp4Box* father = nullptr;     // parent box; null only for the root
  Mp4Box* first = nullptr;      // first child
  Mp4Box* last = nullptr;       // last child
  Mp4Box* next = nullptr;       // next sibling

  // Result of the last lookup among the children, so that "moof[0]", "moof[1]", ... do not each search from
  // the first child.
  Mp4Box* found = nullptr;
  std::uint32_t foundIndex = 0;  // index of `found` among the children of its type

  std::uint64_t end() const { return position + size; }
};

// The payload record of a box; null if it has none or one of another type.
template <class Payload>
Payload* Mp4PayloadOf(const Mp4Box* box) {
  static_assert(std::is_final_v<Payload>, "told by its exact type");
  return box && box->data && typeid(*box->data) == typeid(Payload) ? static_cast<Payload*>(box->data)
                                                                   : nullptr;
}

// The payload of the root: how far the top level has been read.
struct Mp4RootState final : Mp4Payload {
  std::uint64_t nextOffset = 0;                  // file offset of the first unread top-level byte
  bool ended = false;                            // no more top-level boxes can be read
  std::vector<Mp4Box*> boxes;                    // top-level boxes in file order
  std::uint64_t overrun = 0;                     // bytes by which boxes exceed their parents, total
  std::uint64_t maxOverrun = ~std::uint64_t{0};  // its limit, if smaller than the file
  bool memoryShort = false;                      // a box is missing for want of memory
  Mp4Window window;                              // bytes read ahead of the parser
  // Expected size of the next fragment, bytes: the smaller of the last two, within limits, so that few
  // bytes are read in vain. Sizes alternate in files with one track per fragment.
  std::uint64_t fragmentBytes = 0;
  // Bytes of consecutive small boxes just read; a fragment or a larger box resets it.
  std::uint64_t smallBoxBytes = 0;
  // Updates the expectations about the next box from one that has been read.
  void passed(const Mp4Box& box);
  // Counts a box of the tree. Returns false if there are more than its contents justify: a tree of minimal
  // boxes would take many times the memory of its file.
  bool admit(const Mp4Box& box, bool topLevel);
  void fields(Mp4Fields&) override {}

 private:
  void expectFragment(std::uint64_t bytes);

  std::uint64_t lastFragmentBytes_ = 0;
  std::uint64_t nodes_ = 0;      // number of boxes admitted
  std::uint64_t nodeBytes_ = 0;  // bytes, top-level boxes, capped: the basis of the limit
};

struct Mp4BoxDeleter {
  void operator()(Mp4Box* box) const;
};
using Mp4BoxPtr = std::unique_ptr<Mp4Box, Mp4BoxDeleter>;

// Maximum nesting depth; deeper boxes are not read.
inline constexpr unsigned MP4_MAX_DEPTH = 32;

// Reads the top level of the file of `stream`: all of it, or (`readAll` false) up to and including the first
// "moov"; Mp4BoxGet reads later boxes on demand. Returns the root, owned by the caller, or null if it cannot
// be allocated.
Mp4Box* Mp4ReadRoot(Mp4Stream& stream, bool readAll);

// The box at a path such as "mdia/minf/stbl/stsd" or "moof[%lu]", relative to `box`, or null. An index counts
// the children of that type, from 0. Unless `noLoad`, looking up "moof", "mdat" or "sidx" under the root
// reads further top-level boxes from the stream as needed. Returns null for a path of 4096 or more
// characters.
Mp4Box* Mp4BoxGet(Mp4Stream* stream, Mp4Box* box, bool noLoad, const char* format, ...) VLHOST_PRINTF(4, 5);

// The child of `box` of this type and index, or null; reads nothing.
Mp4Box* Mp4BoxChild(Mp4Box* box, std::uint32_t type, std::uint32_t index = 0);

// The top-level box that starts at `offset`; reads further top-level boxes up to there. Null if no box of the
// tree starts at `offset` (it may then be inside a box).
Mp4Box* Mp4BoxAt(Mp4Stream& stream, Mp4Box* root, std::uint64_t offset);

// Frees a box, its subtree and all payloads. Null is ignored.
void Mp4BoxFree(Mp4Stream* stream, Mp4Box* box);

// Bytes before the payload: 8, 16, 24 or 32.
unsigned Mp4BoxHeaderSize(const Mp4Box& box);

// ---- The steps of reading, each usable on its own ---------------------------------------------------

// Reads the header at the stream's position into `box` without moving. Returns false if there is none, or if
// its size is less than the header itself or extends past the 64-bit range. A size of 0 is reported as is.
bool Mp4ReadBoxHeader(Mp4Stream& stream, Mp4Box& box);

// Reads the box at the stream's position, including its children. `father` is the root, a box below it, or
// null for an independent top-level box; the box is not added to its children. Returns the box, owned by the
// caller, or null. The stream's position is unspecified afterwards.
//
// Boxes may extend past the end of their parents. Under one root such overruns may add up to the size of the
// file; a box that exceeds this, or that overruns its parent where there is no root, is not read.
Mp4Box* Mp4ReadBox(Mp4Stream& stream, Mp4Box* father);

// Seeks the stream to the end of `box`. 1: done; 0: `box` is the last one of its level; 2: its size is 0.
int Mp4SeekNextBox(Mp4Stream& stream, const Mp4Box& box);

// Reads the children of `father` starting at the stream's position.
bool Mp4ReadChildren(Mp4Stream& stream, Mp4Box* father);

// Reads the next top-level box and appends it to the root. Returns whether another may follow.
bool Mp4ReadNextBox(Mp4Stream& stream, Mp4Box* root);

// Receives a top-level box: its header, and a stream at its first byte through which its bytes can be read.
// Neither may be kept.
using Mp4BoxVisitor = std::function<void(Mp4Stream& stream, const Mp4Box& header)>;

// Passes the next top-level box to `visit` instead of reading it into the tree, which never contains it then.
// Returns whether another may follow.
bool Mp4PassNextBox(Mp4Stream& stream, Mp4Box* root, const Mp4BoxVisitor& visit);

// ---- The type table ---------------------------------------------------------------------------------

// Reads a box's content; the stream is at the first byte of the box. False drops the box and ends its level.
using Mp4BoxReader = bool (*)(Mp4Stream& stream, Mp4Box& box);

struct Mp4BoxType {
  std::uint32_t type;
  Mp4BoxReader reader;
  Mp4Payload* (*make)();  // creates an empty payload record; null for types without one
};

// The rows; the first match applies. The last row, of type 0, applies to all types not listed.
const std::vector<Mp4BoxType>& Mp4BoxTypeTable();

// The row that applies to a type.
const Mp4BoxType& Mp4FindBoxType(std::uint32_t type);

// Readers shared by several rows.
bool Mp4ReadContainer(Mp4Stream& stream, Mp4Box& box);
bool Mp4ReadMediaData(Mp4Stream& stream, Mp4Box& box);
bool Mp4ReadCompressedMovie(Mp4Stream& stream, Mp4Box& box);
bool Mp4ReadUnknown(Mp4Stream& stream, Mp4Box& box);
// A leaf: reads the complete box into the fields of its payload (created by the row's `make`).
bool Mp4ReadLeaf(Mp4Stream& stream, Mp4Box& box);
// A leaf whose fields are followed by child boxes: sample description, sample entries, data references.
bool Mp4ReadLeafWithChildren(Mp4Stream& stream, Mp4Box& box);
// As above with a given payload record instead of one chosen by type; takes ownership of it.
bool Mp4ReadPayload(Mp4Stream& stream, Mp4Box& box, std::unique_ptr<Mp4Payload> payload, bool children);

}  // namespace fmp4
