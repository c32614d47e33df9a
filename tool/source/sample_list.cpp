#include "tool/source/sample_list.h"

namespace fmp4 {

namespace {

// Samples in a run: what finding one of them takes at most.
constexpr std::size_t kMaxRun = 128;

}  // namespace

void SampleList::push_back(const SourceSample& sample) {
  const std::size_t index = sizes_.size();
  if (index == 0) last_.offset = sample.offset;
  const bool follows = !runs_.empty() && index - runs_.back().first < kMaxRun &&
                       sample.offset == nextOffset_ && sample.decodeTime == nextDecodeTime_ &&
                       sample.duration == runs_.back().duration && sample.key == runs_.back().key;
  if (!follows) runs_.push_back({index, sample.offset, sample.decodeTime, sample.duration, sample.key});
  sizes_.push_back(sample.size);
  if (sample.compositionOffset != 0 || !compositionOffsets_.empty()) {
    compositionOffsets_.resize(index);
    compositionOffsets_.push_back(sample.compositionOffset);
  }
  nextOffset_ = sample.offset + sample.size;
  nextDecodeTime_ = sample.decodeTime + sample.duration;
}

const SampleList::Place& SampleList::placeOf(std::size_t index) const {
  if (index < last_.index || index >= endOf(last_.run)) {
    std::size_t run = last_.run + 1;  // mostly it is the next
    if (run >= runs_.size() || index < runs_[run].first || index >= endOf(run)) {
      const auto after = std::upper_bound(runs_.begin(), runs_.end(), index,
                                          [](std::size_t i, const Run& r) { return i < r.first; });
      run = static_cast<std::size_t>(after - runs_.begin()) - 1;
    }
    last_ = {run, runs_[run].first, runs_[run].offset};
  }
  for (; last_.index < index; ++last_.index) last_.offset += sizes_[last_.index];
  return last_;
}

SourceSample SampleList::operator[](std::size_t index) const {
  const Place& place = placeOf(index);
  const Run& run = runs_[place.run];
  SourceSample sample;
  sample.offset = place.offset;
  sample.size = sizes_[index];
  sample.key = run.key;
  sample.decodeTime = run.decodeTime + std::uint64_t{run.duration} * (index - run.first);
  sample.duration = run.duration;
  if (!compositionOffsets_.empty()) sample.compositionOffset = compositionOffsets_[index];
  return sample;
}

std::uint64_t SampleList::bytesInOnePiece(std::size_t index, std::uint64_t most) const {
  const Place place = placeOf(index);
  std::uint64_t bytes = sizes_[index];
  std::size_t run = place.run;
  while (++index < sizes_.size() && bytes + sizes_[index] <= most) {
    if (index == endOf(run) && runs_[++run].offset != place.offset + bytes) break;
    bytes += sizes_[index];
  }
  return bytes;
}

}  // namespace fmp4
