// The samples of one track that wait to be written, in decoding order.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "mp4box/boxes/trun.h"

namespace fmp4 {

class SampleRun {
 public:
  // Reserves memory for one more sample of `size` bytes and keeps it. False, with nothing changed, when
  // memory is short.
  bool reserve(std::uint32_t size);
  // Takes a sample for which memory is reserved; its size is that of `bytes`.
  void append(mp4::TrackRunBox::Sample sample, std::span<const std::uint8_t> bytes);

  std::uint32_t count() const { return static_cast<std::uint32_t>(samples_.size() - firstSample_); }
  std::uint64_t bytes() const { return data_.size() - firstByte_; }

  // Appends the values of the first `count` samples to `run` and returns their bytes, which stay valid until
  // the next change.
  std::span<const std::uint8_t> take(std::uint32_t count, mp4::TrackRunBox& run) const;
  // Drops the first `count` samples.
  void drop(std::uint32_t count);

 private:
  // Dropped samples stay in front until they outweigh the rest: a long backlog is not moved each time.
  std::vector<mp4::TrackRunBox::Sample> samples_;
  std::size_t firstSample_ = 0;
  std::vector<std::uint8_t> data_;
  std::size_t firstByte_ = 0;
};

}  // namespace fmp4
