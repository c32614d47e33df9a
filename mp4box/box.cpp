// Box accounting, header size and deallocation.
#include "mp4box/box.h"

#include <algorithm>

namespace fmp4 {

void Mp4RootState::expectFragment(std::uint64_t bytes) {
  constexpr std::uint64_t kMaxExpected = 64 << 10;
  fragmentBytes = std::min({bytes, lastFragmentBytes_, kMaxExpected});
  lastFragmentBytes_ = bytes;
}

void Mp4RootState::passed(const Mp4Box& box) {
  constexpr std::uint64_t kSmall = 256;
  const bool isFragment = box.type == Mp4FourCc("moof");
  if (isFragment) expectFragment(box.size);
  smallBoxBytes = isFragment || box.size > kSmall ? 0 : smallBoxBytes + box.size;
}

bool Mp4RootState::admit(const Mp4Box& box, bool topLevel) {
  // A fragment with one short sample has about one node per 16 bytes, so the bytes of a fragment count twice.
  // The contribution of each top-level box is limited, so that a large box does not allow for many small
  // ones, and a box too small to be a fragment counts once.
  constexpr std::uint64_t kFreeNodes = 300'000, kBytesANode = 24, kMaxBytes = 64 << 10, kMinMoofBytes = 64;
  const bool isFragment = box.type == Mp4FourCc("moof") && box.size >= kMinMoofBytes;
  if (topLevel) nodeBytes_ += std::min(box.size, kMaxBytes) * (isFragment ? 2 : 1);
  return ++nodes_ <= kFreeNodes + nodeBytes_ / kBytesANode;
}

unsigned Mp4BoxHeaderSize(const Mp4Box& box) {
  return 8u + (box.type == Mp4FourCc("uuid") ? 16u : 0u) + (box.shortsize == 1 ? 8u : 0u);
}

void Mp4BoxFree(Mp4Stream*, Mp4Box* box) {
  // Descends to the first remaining child and ascends from boxes without children: no recursion.
  const Mp4Box* const top = box;
  while (box) {
    if (Mp4Box* child = box->first) {
      box->first = child->next;
      box = child;
      continue;
    }
    Mp4Box* const up = box == top ? nullptr : box->father;
    delete box->data;
    delete box;
    box = up;
  }
}

void Mp4BoxDeleter::operator()(Mp4Box* box) const {
  Mp4BoxFree(nullptr, box);
}

}  // namespace fmp4
