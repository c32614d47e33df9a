// The life of a box.
#include "box.h"

#include <algorithm>

void Mp4RootState::expectFragment(std::uint64_t bytes) {
  constexpr std::uint64_t kMostExpected = 64 << 10;
  fragmentBytes = std::min({bytes, lastFragmentBytes_, kMostExpected});
  lastFragmentBytes_ = bytes;
}

unsigned Mp4BoxHeaderSize(const Mp4Box& box) {
  return 8u + (box.type == Mp4FourCc("uuid") ? 16u : 0u) + (box.shortsize == 1 ? 8u : 0u);
}

void Mp4BoxFree(Mp4Stream*, Mp4Box* box) {
  // Down to the first child that is left, and up again from a box without any: no recursion.
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
