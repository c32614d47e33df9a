// A tree of boxes: its root, what it may cost, and what was wrong with its boxes.
#pragma once

#include <cstdint>

#include "base/result.h"
#include "mp4box/box.h"
#include "mp4box/defect_list.h"

namespace fmp4 {

// Owns its root, and with it all boxes, which refer to the tree.
class Mp4Tree {
 public:
  static constexpr std::uint64_t kUnlimited = ~std::uint64_t{0};

  // An empty tree of a file of `fileSize` bytes. Boxes may extend past their parents by `maxOverrun` bytes in
  // total, and by no more than the file has.
  explicit Mp4Tree(std::uint64_t fileSize, std::uint64_t maxOverrun = kUnlimited);
  virtual ~Mp4Tree();
  Mp4Tree(const Mp4Tree&) = delete;
  Mp4Tree& operator=(const Mp4Tree&) = delete;

  Mp4Box* root() { return &root_; }
  const Mp4Box* root() const { return &root_; }

  // Reads the next box under the root and appends it, where the tree is read on demand. EndOfData: there is
  // none, or the tree is complete.
  [[nodiscard]] virtual Result readNext() { return Defect::EndOfData; }

  // Decides whether a box may be read into the tree from `stream`, and counts it. Limits its depth, the total
  // by which boxes overrun their parents, and the number of boxes.
  [[nodiscard]] Result admit(Mp4Stream& stream, const Mp4Box& box);

  // Notes what is wrong with a box; the end of the data is no defect.
  void note(const Mp4Box& box, Result result) noexcept;
  // Notes what was wrong with boxes of the same file that are in a tree of their own.
  void noteAll(const Mp4DefectList& defects) noexcept;
  const Mp4DefectList& defects() const { return defects_; }
  // Whether a box is missing for want of memory.
  bool memoryShort() const { return memoryShort_; }

 private:
  Result chargeOverrun(Mp4Stream& stream, const Mp4Box& box);
  Result countBox(const Mp4Box& box);

  Mp4Box root_;
  Mp4DefectList defects_;
  bool memoryShort_ = false;
  std::uint64_t maxOverrun_;
  std::uint64_t overrun_ = 0;    // bytes by which boxes exceed their parents, total
  std::uint64_t nodes_ = 0;      // number of boxes admitted
  std::uint64_t nodeBytes_ = 0;  // bytes, top-level boxes, capped: the basis of their limit
};

// Reads the next top-level box below `root` and appends it (Mp4Tree::readNext). EndOfData for any other box.
[[nodiscard]] Result Mp4ReadNextBox(Mp4Box* root);

}  // namespace fmp4
