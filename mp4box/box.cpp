// Header size and deallocation.
#include "mp4box/box.h"

namespace fmp4 {

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
