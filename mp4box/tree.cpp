#include "mp4box/tree.h"

#include <algorithm>

namespace fmp4 {

namespace {

bool overrunsParent(const Mp4Box& box) {
  return box.father && !box.father->isRoot() && box.end() > box.father->end();
}

}  // namespace

Mp4Tree::Mp4Tree(std::uint64_t fileSize, std::uint64_t maxOverrun) : maxOverrun_(maxOverrun) {
  root_.type = MP4_ROOT;
  root_.shortsize = 1;
  root_.size = fileSize;
  root_.tree = this;
}

Mp4Tree::~Mp4Tree() {
  while (Mp4Box* const child = root_.first) {
    root_.first = child->next;
    Mp4BoxFree(nullptr, child);
  }
}

Result Mp4Tree::admit(Mp4Stream& stream, const Mp4Box& box) {
  if (box.father->isRoot() && box.end() > root_.size) note(box, Defect::BoxPastFile);
  if (overrunsParent(box)) {
    note(box, Defect::BoxPastParent);
    if (const Result charged = chargeOverrun(stream, box); !charged.ok()) return charged;
  }
  return countBox(box);
}

// A box may extend past the end of its parent; the bytes there are then read again as siblings of the parent.
// The bytes read again must not exceed the size of the file: a file of many boxes that all extend to its end
// would otherwise take quadratic time and memory.
Result Mp4Tree::chargeOverrun(Mp4Stream& stream, const Mp4Box& box) {
  const std::uint64_t size = stream.size();
  overrun_ += std::min(box.end(), size) - std::min(box.father->end(), size);
  return overrun_ <= std::min(size, maxOverrun_) ? Result() : Defect::BoxesOverrunParents;
}

// A tree of minimal boxes would take many times the memory of its file.
Result Mp4Tree::countBox(const Mp4Box& box) {
  // A fragment with one short sample has about one node per 16 bytes, so the bytes of a fragment count twice.
  // The contribution of each top-level box is limited, so that a large box does not allow for many small
  // ones, and a box too small to be a fragment counts once.
  constexpr std::uint64_t kFreeNodes = 300'000, kBytesANode = 24, kMaxBytes = 64 << 10, kMinMoofBytes = 64;
  const bool isFragment = box.type == Mp4FourCc("moof") && box.size >= kMinMoofBytes;
  if (box.father->isRoot()) nodeBytes_ += std::min(box.size, kMaxBytes) * (isFragment ? 2 : 1);
  return ++nodes_ <= kFreeNodes + nodeBytes_ / kBytesANode ? Result() : Defect::TooManyBoxes;
}

void Mp4Tree::note(const Mp4Box& box, Result result) noexcept {
  if (result.ok() || result.kind() == DefectKind::End) return;
  memoryShort_ = memoryShort_ || result.kind() == DefectKind::NoMemory;
  defects_.add({box.position, box.type, result.defect()});
}

void Mp4Tree::noteAll(const Mp4DefectList& defects) noexcept {
  for (const Mp4BoxDefect& found : defects.kept()) defects_.add(found);
}

Result Mp4ReadNextBox(Mp4Box* root) {
  return root->isRoot() && root->tree ? root->tree->readNext() : Defect::EndOfData;
}

}  // namespace fmp4
