#include "recording/write/sample_run.h"

#include <algorithm>
#include <new>

namespace fmp4 {

namespace {

constexpr std::size_t kSpare = 4096;         // bytes beyond the sample that made a buffer grow
constexpr std::size_t kSmallStep = 0x10000;  // minimum by which a buffer grows

template <class Item>
void dropFront(std::vector<Item>& items, std::size_t& first, std::size_t count) {
  first += count;
  if (first * 2 < items.size()) return;
  items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(first));
  first = 0;
}

}  // namespace

bool SampleRun::reserve(std::uint32_t size) try {
  if (samples_.size() == samples_.capacity())
    samples_.reserve(std::max<std::size_t>(64, samples_.size() * 2));
  const std::size_t needed = data_.size() + size;
  if (needed >= data_.capacity()) data_.reserve(std::max(needed + kSpare, data_.capacity() + kSmallStep));
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

void SampleRun::append(mp4::TrackRunBox::Sample sample, std::span<const std::uint8_t> bytes) {
  sample.size = static_cast<std::uint32_t>(bytes.size());
  samples_.push_back(sample);
  data_.insert(data_.end(), bytes.begin(), bytes.end());
}

std::span<const std::uint8_t> SampleRun::take(std::uint32_t count, mp4::TrackRunBox& run) const {
  std::size_t size = 0;
  for (const auto& sample : std::span(samples_).subspan(firstSample_, count)) {
    run.addSample(sample);
    size += sample.size;
  }
  return std::span(data_).subspan(firstByte_, size);
}

void SampleRun::drop(std::uint32_t count) {
  std::size_t size = 0;
  for (const auto& sample : std::span(samples_).subspan(firstSample_, count)) size += sample.size;
  dropFront(samples_, firstSample_, count);
  dropFront(data_, firstByte_, size);
}

}  // namespace fmp4
