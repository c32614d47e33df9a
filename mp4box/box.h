// The generic box node, reading a tree of them from a stream, and finding boxes in it by path.
#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "base/fourcc.h"
#include "mp4box/fields.h"
#include "mp4box/stream.h"
#include "mp4box/window_stream.h"

inline constexpr std::uint32_t MP4_ROOT = Mp4FourCc("root");

// One box. A box owns its children and its payload; children are kept in file order.
struct Mp4Box {
  std::uint64_t position = 0;   // file offset of the first byte (the size field)
  std::uint32_t type = 0;       // the four type bytes; "root" for the tree's root
  std::uint32_t shortsize = 0;  // the 32-bit size field as read; 1: a 64-bit size follows
  std::uint8_t uuid[16] = {};   // the extended type of a "uuid" box
  std::uint64_t size = 0;       // total size in bytes, header included
  Mp4Payload* data = nullptr;   // the type's payload record, null when there is none
  Mp4Box* father = nullptr;     // null only for the root
  Mp4Box* first = nullptr;      // first child
  Mp4Box* last = nullptr;       // last child
  Mp4Box* next = nullptr;       // next sibling

  // Where the last lookup among the children stood, so that "moof[0]", "moof[1]", ... are not each
  // searched from the first child on.
  Mp4Box* found = nullptr;
  std::uint32_t foundIndex = 0;  // rank of `found` among the children of its type

  std::uint64_t end() const { return position + size; }
};

// The record at a box, or null when it has none or one of another type.
template <class Payload>
Payload* Mp4PayloadOf(const Mp4Box* box) {
  static_assert(std::is_final_v<Payload>, "told by its exact type");
  return box && box->data && typeid(*box->data) == typeid(Payload) ? static_cast<Payload*>(box->data)
                                                                   : nullptr;
}

// The payload of the root: how far the top level has been read.
struct Mp4RootState final : Mp4Payload {
  std::uint64_t nextOffset = 0;  // offset of the first top-level byte not yet read
  bool ended = false;            // nothing more can be read there
  std::vector<Mp4Box*> boxes;    // the top level in file order
  std::uint64_t overrun = 0;     // bytes by which boxes reached past their fathers, added up
  Mp4Window window;              // what has been read ahead of the boxes
  // How long the next fragment is expected to be: the shorter of the last two, within reason. Tracks in
  // fragments of their own come in two lengths, and what is read in vain should be little.
  std::uint64_t fragmentBytes = 0;
  // Bytes of the small boxes last passed in a row, which a fragment or a larger box ends.
  std::uint64_t smallBoxBytes = 0;
  // Tells what the next box may be like from one that has been read.
  void passed(const Mp4Box& box);
  // Counts a box of the tree. False when there are more than a file may have by what stands in it: a tree of
  // the smallest boxes would take many times the memory of its file.
  bool admit(const Mp4Box& box, bool topLevel);
  void fields(Mp4Fields&) override {}

 private:
  void expectFragment(std::uint64_t bytes);

  std::uint64_t lastFragmentBytes_ = 0;
  std::uint64_t nodes_ = 0;      // boxes admitted
  std::uint64_t nodeBytes_ = 0;  // of the top level, as far as they allow for boxes
};

struct Mp4BoxDeleter {
  void operator()(Mp4Box* box) const;
};
using Mp4BoxPtr = std::unique_ptr<Mp4Box, Mp4BoxDeleter>;

// Boxes nested deeper than this are not read.
inline constexpr unsigned MP4_MAX_DEPTH = 32;
// A leaf box larger than this is not read, and a container of the top level not in one go.
inline constexpr std::uint64_t MP4_MAX_LEAF_BYTES = 256u << 20;

// Reads the top level of the file behind `stream`: all of it, or (`readAll` clear) up to and including the
// first "moov"; the boxes after that come in through Mp4BoxGet. Returns the root, owned by the caller, or
// null when it cannot be allocated.
Mp4Box* Mp4ReadRoot(Mp4Stream& stream, bool readAll);

// The box at a path such as "mdia/minf/stbl/stsd" or "moof[%lu]", seen from `box`, or null. An index
// counts among the children of that type, from 0. Unless `noLoad`, looking for "moof", "mdat" or "sidx"
// under the root reads further top-level boxes from the stream as needed. A path of 4096 characters and
// more finds nothing.
Mp4Box* Mp4BoxGet(Mp4Stream* stream, Mp4Box* box, bool noLoad, const char* format, ...) VLHOST_PRINTF(4, 5);

// The child of `box` of this type and rank, or null; reads nothing.
Mp4Box* Mp4BoxChild(Mp4Box* box, std::uint32_t type, std::uint32_t index = 0);

// The top-level box that starts at `offset`, reading the top level on as far as that. Null when no box
// starts there in the tree (`offset` may then lie inside a box).
Mp4Box* Mp4BoxAt(Mp4Stream& stream, Mp4Box* root, std::uint64_t offset);

// Frees a box, its subtree and all payloads. Null is nothing to do.
void Mp4BoxFree(Mp4Stream* stream, Mp4Box* box);

// Bytes before the payload: 8, 16, 24 or 32.
unsigned Mp4BoxHeaderSize(const Mp4Box& box);

// ---- The steps of reading, each of use alone --------------------------------------------------------

// Reads the header at the stream's position into `box` without moving. False when there is none, or its
// size is less than the header itself or reaches past what 64 bits can address. A size of 0 is passed on.
bool Mp4ReadBoxHeader(Mp4Stream& stream, Mp4Box& box);

// Reads the box at the stream's position, with all in it. `father` is the root, a box read below it, or null
// for a box of the top level that stands on its own; it does not get the box as a child. Returns the box,
// owned by the caller, or null. Leaves the stream anywhere.
//
// Boxes may reach past their fathers. Below one root such overruns may add up to as many bytes as the file
// has so far; a box that goes further, or overruns its father where there is no root, is not read.
Mp4Box* Mp4ReadBox(Mp4Stream& stream, Mp4Box* father);

// Moves the stream behind `box`. 1: done; 0: the level ends with it; 2: its size is 0.
int Mp4SeekNextBox(Mp4Stream& stream, const Mp4Box& box);

// Reads the children of `father` from the stream's position on.
bool Mp4ReadChildren(Mp4Stream& stream, Mp4Box* father);

// Reads one more box of the top level and appends it to the root. Returns whether another may follow.
bool Mp4ReadNextBox(Mp4Stream& stream, Mp4Box* root);

// ---- The type table ---------------------------------------------------------------------------------

// Reads a box's content; the stream stands at the box's first byte. False drops the box and ends its level.
using Mp4BoxReader = bool (*)(Mp4Stream& stream, Mp4Box& box);

struct Mp4BoxType {
  std::uint32_t type;
  Mp4BoxReader reader;
  Mp4Payload* (*make)();  // an empty payload record, null for types without one
};

// The rows, the first match counting; the last, of type 0, is the row of every type not listed.
const std::vector<Mp4BoxType>& Mp4BoxTypeTable();

// The row for a type.
const Mp4BoxType& Mp4FindBoxType(std::uint32_t type);

// The readers that rows share.
bool Mp4ReadContainer(Mp4Stream& stream, Mp4Box& box);
bool Mp4ReadMediaData(Mp4Stream& stream, Mp4Box& box);
bool Mp4ReadCompressedMovie(Mp4Stream& stream, Mp4Box& box);
bool Mp4ReadUnknown(Mp4Stream& stream, Mp4Box& box);
// A leaf: the whole box is read, its payload (the row's `make`) takes its fields.
bool Mp4ReadLeaf(Mp4Stream& stream, Mp4Box& box);
// A leaf whose fields are followed by child boxes: sample description, sample entries, data references.
bool Mp4ReadLeafWithChildren(Mp4Stream& stream, Mp4Box& box);
// The same, with the payload record given rather than found by type; takes ownership of it.
bool Mp4ReadPayload(Mp4Stream& stream, Mp4Box& box, std::unique_ptr<Mp4Payload> payload, bool children);
