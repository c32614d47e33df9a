// The generic box node, reading box trees from a stream, and looking up boxes by path.
#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "base/fourcc.h"
#include "base/result.h"
#include "mp4box/fields.h"
#include "mp4box/stream.h"

namespace fmp4 {

class Mp4Tree;

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
  Mp4Tree* tree = nullptr;      // the tree that the box belongs to; null for a box read on its own

  // Result of the last lookup among the children, so that "moof[0]", "moof[1]", ... do not each search from
  // the first child.
  Mp4Box* found = nullptr;
  std::uint32_t foundIndex = 0;  // index of `found` among the children of its type

  std::uint64_t end() const { return position + size; }

  // Whether the box is the root of a tree: the file itself.
  bool isRoot() const { return type == MP4_ROOT && !father; }
  // Adds the last child, whose father must be this box; takes ownership.
  void append(Mp4Box* child) {
    (first ? last->next : first) = child;
    last = child;
  }
};

// The payload record of a box; null if it has none or one of another type.
template <class Payload>
Payload* Mp4PayloadOf(const Mp4Box* box) {
  static_assert(std::is_final_v<Payload>, "known by its exact type");
  return box && box->data && typeid(*box->data) == typeid(Payload) ? static_cast<Payload*>(box->data)
                                                                   : nullptr;
}

struct Mp4BoxDeleter {
  void operator()(Mp4Box* box) const;
};
using Mp4BoxPtr = std::unique_ptr<Mp4Box, Mp4BoxDeleter>;

// Maximum nesting depth; deeper boxes are not read.
inline constexpr unsigned MP4_MAX_DEPTH = 32;

// The box at a path such as "mdia/minf/stbl/stsd" or "moof[%lu]", relative to `box`, or null. An index counts
// the children of that type, from 0. Given a `stream`, and unless `noLoad`, looking up "moof", "mdat" or
// "sidx" under the root of a tree that is read on demand reads further top-level boxes as needed. Returns
// null for a path of 4096 or more characters.
Mp4Box* Mp4BoxGet(Mp4Stream* stream, Mp4Box* box, bool noLoad, const char* format, ...) VLHOST_PRINTF(4, 5);

// The child of `box` of this type and index, or null; reads nothing.
Mp4Box* Mp4BoxChild(Mp4Box* box, std::uint32_t type, std::uint32_t index = 0);

// Frees a box, its subtree and all payloads. Null is ignored.
void Mp4BoxFree(Mp4Stream* stream, Mp4Box* box);

// Bytes before the payload: 8, 16, 24 or 32.
unsigned Mp4BoxHeaderSize(const Mp4Box& box);

// ---- The steps of reading, each usable on its own ---------------------------------------------------

// Reads the header at the stream's position into `box` without moving. Fails if there is none, or if its size
// is less than the header itself or extends past the 64-bit range; `box` then has the position, and the type
// if that was read. A size of 0 is reported as is.
[[nodiscard]] Result Mp4ReadBoxHeader(Mp4Stream& stream, Mp4Box& box);

// Reads the header at the stream's position into `box`, and decides whether the box may be read under
// `father` (as for Mp4ReadBox). The stream does not move.
[[nodiscard]] Result Mp4AdmitBox(Mp4Stream& stream, Mp4Box* father, Mp4Box& box);

// Reads the box at the stream's position, including its children, into `box`, which is null after a failure.
// `father` is the root, a box below it, or null for an independent top-level box; the box is not added to its
// children. The stream's position is unspecified afterwards.
//
// Boxes may extend past the end of their parents. Under one root such overruns may add up to the size of the
// file; a box that exceeds this, or that overruns its parent where there is no root, is not read. The tree
// notes what was wrong with a box, whether it was read or not.
[[nodiscard]] Result Mp4ReadBox(Mp4Stream& stream, Mp4Box* father, Mp4BoxPtr& box);

// What follows a box. Unsized: nothing is known to, since the box has no size.
enum class Mp4NextBox { Sibling, None, Unsized };

// Seeks the stream to the end of `box` if a sibling may follow there.
[[nodiscard]] Mp4NextBox Mp4SeekNextBox(Mp4Stream& stream, const Mp4Box& box);

// Reads the children of `father` starting at the stream's position. EndOfData: there is no room for any. A
// child that cannot be read ends the level, and `father` still counts as read.
[[nodiscard]] Result Mp4ReadChildren(Mp4Stream& stream, Mp4Box* father);

// ---- The type table ---------------------------------------------------------------------------------

// Reads a box's content; the stream is at the first byte of the box. A failure drops the box and ends its
// level.
using Mp4BoxReader = Result (*)(Mp4Stream& stream, Mp4Box& box);

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
[[nodiscard]] Result Mp4ReadContainer(Mp4Stream& stream, Mp4Box& box);
[[nodiscard]] Result Mp4ReadMediaData(Mp4Stream& stream, Mp4Box& box);
[[nodiscard]] Result Mp4ReadCompressedMovie(Mp4Stream& stream, Mp4Box& box);
[[nodiscard]] Result Mp4ReadUnknown(Mp4Stream& stream, Mp4Box& box);
// A leaf: reads the complete box into the fields of its payload (created by the row's `make`).
[[nodiscard]] Result Mp4ReadLeaf(Mp4Stream& stream, Mp4Box& box);
// A leaf whose fields are followed by child boxes: sample description, sample entries, data references.
[[nodiscard]] Result Mp4ReadLeafWithChildren(Mp4Stream& stream, Mp4Box& box);
// As above with a given payload record instead of one chosen by type; takes ownership of it.
[[nodiscard]] Result Mp4ReadPayload(Mp4Stream& stream, Mp4Box& box, std::unique_ptr<Mp4Payload> payload,
                                    bool children);

}  // namespace fmp4
