// A run of samples read where its bytes lie.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/bytes.h"
#include "mp4box/boxes/trun.h"

namespace fmp4 {

// The durations and sizes of the samples of a "trun", with the meaning and the limits of mp4::TrackRunBox,
// but without copying them. Fields that do not fit read as 0, and so do all after them.
class RunBytes {
 public:
  // `payload`: the box after its header; it must outlive this.
  explicit RunBytes(std::span<const std::uint8_t> payload) : left_(payload) {
    using Run = mp4::TrackRunBox;
    flags_ = take() & 0xFFFFFF;
    sampleCount = take();
    if (flags_ & Run::kDataOffset) take();
    if (flags_ & Run::kFirstSampleFlags) take();
    // A value of four bytes for each flag, in the order of the flags.
    sizePlace_ = hasDuration() ? 4 : 0;
    stride_ = sizePlace_ + (hasSize() ? 4 : 0) + (flags_ & Run::kSampleFlags ? 4 : 0) +
              (flags_ & Run::kCompositionOffset ? 4 : 0);
    if (stride_ == 0) return;
    sampleCount = static_cast<std::uint32_t>(std::min<std::uint64_t>(sampleCount, left_.size() / stride_));
  }

  std::uint32_t sampleCount = 0;  // samples that are complete in the box

  bool hasDuration() const { return flags_ & mp4::TrackRunBox::kSampleDuration; }
  bool hasSize() const { return flags_ & mp4::TrackRunBox::kSampleSize; }
  // The values of sample `i` (less than `sampleCount`); each requires its flag.
  std::uint32_t duration(std::size_t i) const { return Mp4LoadU32(&left_[i * stride_]); }
  std::uint32_t size(std::size_t i) const { return Mp4LoadU32(&left_[i * stride_ + sizePlace_]); }

 private:
  std::uint32_t take() {
    if (left_.size() < 4) {
      left_ = {};
      return 0;
    }
    const std::uint32_t value = Mp4LoadU32(left_.data());
    left_ = left_.subspan(4);
    return value;
  }

  std::span<const std::uint8_t> left_;
  std::uint32_t flags_ = 0;
  std::size_t stride_ = 0;  // bytes per sample
  std::size_t sizePlace_ = 0;
};

}  // namespace fmp4
