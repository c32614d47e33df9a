// The samples of a track, in a few bytes each: a day has millions.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace fmp4 {

struct SourceSample {
  std::uint64_t offset = 0;  // of the first byte, in the source
  std::uint32_t size = 0;    // bytes
  bool key = true;
  std::uint64_t decodeTime = 0;        // ticks of the track
  std::uint32_t duration = 0;          // ticks
  std::int32_t compositionOffset = 0;  // ticks

  // Display time in ticks of the track, before its edit list is applied. Clamped so that sums cannot
  // overflow.
  std::int64_t presentationTime() const {
    constexpr std::uint64_t kMax = std::uint64_t{1} << 62;
    return static_cast<std::int64_t>(std::min(decodeTime, kMax)) + compositionOffset;
  }
};

// Samples are made when they are asked for. Going through them in order takes constant time for each.
class SampleList {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = SourceSample;
    using difference_type = std::ptrdiff_t;
    using pointer = const SourceSample*;
    using reference = SourceSample;

    Iterator(const SampleList& list, std::size_t index) : list_(&list), index_(index) {}
    SourceSample operator*() const { return (*list_)[index_]; }
    Iterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator==(const Iterator& other) const { return index_ == other.index_; }

   private:
    const SampleList* list_;
    std::size_t index_;
  };

  // Successive samples of a list, which outlives it.
  class Part {
   public:
    Part(const SampleList& list, std::size_t first, std::size_t count)
        : list_(list), first_(first), count_(count) {}
    std::size_t size() const { return count_; }
    SourceSample operator[](std::size_t index) const { return list_[first_ + index]; }
    Iterator begin() const { return {list_, first_}; }
    Iterator end() const { return {list_, first_ + count_}; }

   private:
    const SampleList& list_;
    std::size_t first_, count_;
  };

  bool empty() const { return sizes_.empty(); }
  std::size_t size() const { return sizes_.size(); }
  SourceSample operator[](std::size_t index) const;
  SourceSample front() const { return (*this)[0]; }
  SourceSample back() const { return (*this)[size() - 1]; }
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size()}; }
  Part part(std::size_t first, std::size_t count) const { return {*this, first, count}; }

  void push_back(const SourceSample& sample);
  void clear() { *this = {}; }

  // The bytes of as many samples from `index` on as follow each other in the source and have no more than
  // `most` bytes together; at least those of the first.
  std::uint64_t bytesInOnePiece(std::size_t index, std::uint64_t most) const;

 private:
  // Samples that follow each other in the source and in time, of one duration and kind.
  struct Run {
    std::size_t first = 0;  // index of the first sample
    std::uint64_t offset = 0;
    std::uint64_t decodeTime = 0;
    std::uint32_t duration = 0;
    bool key = true;
  };
  struct Place {
    std::size_t run = 0;
    std::size_t index = 0;
    std::uint64_t offset = 0;  // of the sample
  };

  std::size_t endOf(std::size_t run) const {
    return run + 1 < runs_.size() ? runs_[run + 1].first : sizes_.size();
  }
  const Place& placeOf(std::size_t index) const;

  std::vector<std::uint32_t> sizes_;
  std::vector<std::int32_t> compositionOffsets_;  // empty: all are 0
  std::vector<Run> runs_;
  std::uint64_t nextOffset_ = 0;  // after the last sample
  std::uint64_t nextDecodeTime_ = 0;
  mutable Place last_;  // that was asked for
};

}  // namespace fmp4
