// "trun": a run of samples of a track fragment (ISO/IEC 14496-12, 8.8.8).
#pragma once

#include <algorithm>
#include <array>
#include <span>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

class TrackRunBox final : public Mp4FullBox {
 public:
  static constexpr std::uint32_t kDataOffset = 0x000001;
  static constexpr std::uint32_t kFirstSampleFlags = 0x000004;
  static constexpr std::uint32_t kSampleDuration = 0x000100;
  static constexpr std::uint32_t kSampleSize = 0x000200;
  static constexpr std::uint32_t kSampleFlags = 0x000400;
  static constexpr std::uint32_t kCompositionOffset = 0x000800;

  // The per-sample values; 0 if the flags omit them.
  struct Sample {
    std::uint32_t duration = 0;  // ticks
    std::uint32_t size = 0;      // bytes
    std::uint32_t flags = 0;
    std::int64_t compositionOffset = 0;  // ticks, 32 bits: unsigned in version 0, signed in version 1
  };

  // Set directly only in a run without per-sample values, which may have any number of samples; otherwise the
  // operations below maintain it.
  std::uint32_t sampleCount = 0;
  std::int32_t dataOffset = 0;         // bytes, relative to the base of the track fragment; only if flagged
  std::uint32_t firstSampleFlags = 0;  // only if flagged

  bool hasDataOffset() const { return flags & kDataOffset; }
  bool hasFirstSampleFlags() const { return flags & kFirstSampleFlags; }
  bool hasDuration() const { return flags & kSampleDuration; }
  bool hasSize() const { return flags & kSampleSize; }
  bool hasFlags() const { return flags & kSampleFlags; }
  bool hasCompositionOffset() const { return flags & kCompositionOffset; }

  // The values of sample `i` (less than `sampleCount`); each requires its flag.
  std::uint32_t duration(std::size_t i) const { return value(i, kSampleDuration); }
  std::uint32_t size(std::size_t i) const { return value(i, kSampleSize); }
  std::uint32_t sampleFlags(std::size_t i) const { return value(i, kSampleFlags); }
  std::int64_t compositionOffset(std::size_t i) const {
    const std::uint32_t stored = value(i, kCompositionOffset);
    return version == 0 ? std::int64_t{stored} : std::int64_t{static_cast<std::int32_t>(stored)};
  }
  Sample sample(std::size_t i) const {
    Sample sample;
    if (hasDuration()) sample.duration = duration(i);
    if (hasSize()) sample.size = size(i);
    if (hasFlags()) sample.flags = sampleFlags(i);
    if (hasCompositionOffset()) sample.compositionOffset = compositionOffset(i);
    return sample;
  }

  // Building a run: set `flags` first. Only flagged values are stored.
  void setSample(std::size_t i, const Sample& sample) {
    if (hasDuration()) value(i, kSampleDuration) = sample.duration;
    if (hasSize()) value(i, kSampleSize) = sample.size;
    if (hasFlags()) value(i, kSampleFlags) = sample.flags;
    if (hasCompositionOffset())
      value(i, kCompositionOffset) = static_cast<std::uint32_t>(sample.compositionOffset);
  }
  void addSample(const Sample& sample) {
    resize(sampleCount + 1);
    setSample(sampleCount - 1, sample);
  }
  // Truncates the run, or appends samples whose values are all zero.
  void resize(std::uint32_t count) {
    values_.resize(std::size_t{count} * stride());
    sampleCount = count;
  }
  // Removes the first `count` samples of the run.
  void dropFirst(std::uint32_t count) {
    count = std::min(count, sampleCount);
    values_.erase(values_.begin(),
                  values_.begin() + static_cast<std::ptrdiff_t>(std::size_t{count} * stride()));
    sampleCount -= count;
  }

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("sample_count", sampleCount);
    if (hasDataOffset()) f.i32("data_offset", dataOffset);
    if (hasFirstSampleFlags()) f.hex("first_sample_flags", firstSampleFlags, 4);
    if (stride() == 0) return;
    f.rows("samples", values_, sampleCount, columns().used());
    // Limited to the samples that are complete in the box.
    if (f.reading()) resize(static_cast<std::uint32_t>(values_.size() / stride()));
  }

 private:
  // What is stored of each sample.
  struct Columns {
    std::array<Mp4Column, 4> all;
    std::size_t count = 0;

    void add(bool flagged, const char* name, Mp4Number kind) {
      if (flagged) all[count++] = {name, kind};
    }
    std::span<const Mp4Column> used() const { return {all.data(), count}; }
  };

  Columns columns() const {
    Columns columns;
    columns.add(hasDuration(), "sample_duration", Mp4Number::Unsigned);
    columns.add(hasSize(), "sample_size", Mp4Number::Unsigned);
    columns.add(hasFlags(), "sample_flags", Mp4Number::Hex);
    columns.add(hasCompositionOffset(), "sample_composition_time_offset",
                version == 0 ? Mp4Number::Unsigned : Mp4Number::Signed);
    return columns;
  }
  // The number of these flags that stand for values of a sample. Added up, as counting bits is a call where
  // not every processor has an instruction for it.
  static constexpr std::size_t valuesOf(std::uint32_t flags) {
    return (flags / kSampleDuration & 1) + (flags / kSampleSize & 1) + (flags / kSampleFlags & 1) +
           (flags / kCompositionOffset & 1);
  }
  // Number of values per sample.
  std::size_t stride() const { return valuesOf(flags); }
  // Index of the value with this flag in sample `i`: after those of the lower flags.
  std::size_t place(std::size_t i, std::uint32_t flag) const {
    return i * stride() + valuesOf(flags & (flag - 1));
  }
  std::uint32_t value(std::size_t i, std::uint32_t flag) const { return values_[place(i, flag)]; }
  std::uint32_t& value(std::size_t i, std::uint32_t flag) { return values_[place(i, flag)]; }

  // The flagged values, sample by sample, as in the file.
  std::vector<std::uint32_t> values_;
};

}  // namespace fmp4::mp4
