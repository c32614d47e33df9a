// Walks boxes where their bytes lie, without a tree.
#pragma once

#include <cstdint>
#include <span>

#include "base/bytes.h"
#include "base/fourcc.h"

namespace fmp4 {

// The boxes that fill a range of bytes one after another, each with a 32-bit size: what writers put into a
// movie fragment. Anything else is irregular, and the tree reader says what it means.
class BoxWalk {
 public:
  enum class Step { Box, End, Irregular };

  explicit BoxWalk(std::span<const std::uint8_t> bytes) : left_(bytes) {}

  // Moves to the next box.
  Step next() {
    if (left_.empty()) return Step::End;
    if (left_.size() < kHeader) return Step::Irregular;
    const std::uint32_t size = Mp4LoadU32(left_.data());
    type_ = Mp4LoadU32(left_.data() + 4);
    const std::uint32_t smallest = type_ == Mp4FourCc("uuid") ? kHeader + 16 : kHeader;
    if (size < smallest || size > left_.size()) return Step::Irregular;
    payload_ = left_.subspan(kHeader, size - kHeader);
    left_ = left_.subspan(size);
    return Step::Box;
  }

  // The current box; the payload of a "uuid" box starts with its extended type.
  std::uint32_t type() const { return type_; }
  std::span<const std::uint8_t> payload() const { return payload_; }

 private:
  static constexpr std::uint32_t kHeader = 8;

  std::span<const std::uint8_t> left_;
  std::uint32_t type_ = 0;
  std::span<const std::uint8_t> payload_;
};

}  // namespace fmp4
