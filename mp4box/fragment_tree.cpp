#include "mp4box/fragment_tree.h"

#include <algorithm>
#include <new>

namespace fmp4 {

namespace {

// Boxes of a fragment that extend past their parents may make it this many times as long to read.
constexpr std::uint64_t kMaxRereads = 16;

}  // namespace

Mp4BoxPtr Mp4ReadFragmentTree(Mp4Stream& stream, std::uint64_t position, std::uint64_t fileSize) {
  Mp4BoxPtr root(new Mp4Box);
  auto* const state = new Mp4RootState;
  root->data = state;
  root->type = MP4_ROOT;
  root->shortsize = 1;
  root->size = fileSize;
  Mp4Box header;
  if (!stream.seek(position) || !Mp4ReadBoxHeader(stream, header)) return nullptr;
  state->maxOverrun = std::min(header.size, fileSize) * kMaxRereads;
  Mp4Box* const box = Mp4ReadBox(stream, root.get());
  root->first = root->last = box;
  if (state->memoryShort) throw std::bad_alloc();
  return box ? std::move(root) : nullptr;
}

}  // namespace fmp4
