// Reads a file by one object from start to end and by another in any order: what is read must be the same.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "plugin/fmp4_object.h"

namespace fmp4 {

// A frame as it was delivered, without its captions: when frames are read in order, captions follow sample by
// sample; elsewhere they are sought by durations in whole frames, which differ where samples last less or
// hold more.
struct ReadFrame {
  std::uint32_t status = 0;
  std::uint32_t flags = 0;
  std::int32_t compositionOffset = 0;
  std::vector<std::uint8_t> bytes;
  bool operator==(const ReadFrame&) const = default;
};

// A file, open for reading, with the first of its frames and PCM frames.
class OpenedFile {
 public:
  explicit OpenedFile(const std::string& path) : file_(kFileTypeCode) {
    open_ = file_.Open(path.c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr, VL_OPEN_EXISTING, 0, 0) ==
            VL_OK;
    if (!open_) return;
    const auto system = std::make_unique<QVRSYSTEM>();
    const auto video = std::make_unique<QVRVIDEO>();
    QVRAUDIO audio{};
    QVRINFO info{};
    file_.GetFileInfo(1, system.get(), video.get(), &audio, &info);
    frames_ = std::min<std::uint32_t>(file_.GetTotalFrames(), kMaxFrames);
    frameBytes_ = std::max<std::uint32_t>(1, audio.wave.channels) * ((audio.wave.bitsPerSample + 7u) / 8u);
    pcmFrames_ = std::min(audio.stream.length, kMaxPcmBytes / std::max(frameBytes_, 1u));
    capacity_ = file_.Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr);
  }
  ~OpenedFile() {
    if (open_) file_.Close();
  }
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  bool isOpen() const { return open_; }
  std::uint32_t frames() const { return frames_; }
  std::uint32_t pcmFrames() const { return pcmFrames_; }
  std::uint32_t frameBytes() const { return frameBytes_; }

  ReadFrame frame(std::uint32_t number) {
    ReadFrame result;
    result.bytes.resize(capacity_);
    DFRAME descriptor{};
    descriptor.size = sizeof descriptor;
    descriptor.data = result.bytes.data();
    descriptor.dataCapacity = capacity_;
    result.status = file_.Read(number, 1, 1, QVR_MODE_VIDEO, &descriptor, nullptr);
    if (result.status != VL_OK) return {.status = result.status};
    if (descriptor.bytes > capacity_ || descriptor.captionBytes > sizeof descriptor.captions) std::abort();
    result.bytes.resize(descriptor.bytes);
    result.flags = descriptor.flags;
    result.compositionOffset = descriptor.compositionOffset;
    return result;
  }

  // The bytes delivered of `count` PCM frames from `first` on.
  std::vector<std::uint8_t> audio(std::uint32_t first, std::uint32_t count) {
    std::vector<std::uint8_t> bytes(std::size_t{count} * frameBytes_);
    DFRAME descriptor{};
    descriptor.size = sizeof descriptor;
    descriptor.data = bytes.data();
    descriptor.dataCapacity = static_cast<std::uint32_t>(bytes.size());
    file_.Read(first, count, 1, QVR_MODE_AUDIO, &descriptor, nullptr);
    if (descriptor.bytes > bytes.size()) std::abort();
    bytes.resize(descriptor.bytes);
    return bytes;
  }

 private:
  static constexpr std::uint32_t kMaxFrames = 64;
  static constexpr std::uint32_t kMaxPcmBytes = 1 << 18;

  CMFFmp4 file_;
  bool open_ = false;
  std::uint32_t frames_ = 0;
  std::uint32_t pcmFrames_ = 0;
  std::uint32_t frameBytes_ = 0;
  std::uint32_t capacity_ = 0;  // bytes of the largest frame
};

inline void expectFramesInAnyOrder(OpenedFile& inOrder, OpenedFile& anyOrder, std::minstd_rand& random) {
  std::vector<ReadFrame> expected;
  for (std::uint32_t frame = 0; frame < inOrder.frames(); ++frame) expected.push_back(inOrder.frame(frame));
  for (std::uint32_t i = 0; i < inOrder.frames(); ++i) {
    const auto frame = static_cast<std::uint32_t>(random() % inOrder.frames());
    if (anyOrder.frame(frame) != expected[frame]) std::abort();
  }
}

inline void expectAudioInAnyOrder(OpenedFile& inOrder, OpenedFile& anyOrder, std::minstd_rand& random) {
  constexpr std::uint32_t kMaxCount = 3000, kRanges = 8;
  const std::uint32_t total = inOrder.pcmFrames();
  if (total == 0) return;
  const std::size_t frameBytes = inOrder.frameBytes();
  const std::vector<std::uint8_t> expected = inOrder.audio(0, total);
  for (std::uint32_t i = 0; i < kRanges; ++i) {
    const auto first = static_cast<std::uint32_t>(random() % total);
    const auto count =
        static_cast<std::uint32_t>(1 + random() % std::min<std::uint32_t>(kMaxCount, total - first));
    const std::size_t from = std::min(first * frameBytes, expected.size());
    const std::size_t to = std::min(from + count * frameBytes, expected.size());
    const std::vector<std::uint8_t> got = anyOrder.audio(first, count);
    if (!std::equal(got.begin(), got.end(), expected.begin() + static_cast<std::ptrdiff_t>(from),
                    expected.begin() + static_cast<std::ptrdiff_t>(to)))
      std::abort();
  }
}

// The seed sets the order. False if the file is refused.
inline bool expectSameInAnyOrder(const std::string& path, std::uint32_t seed) {
  OpenedFile inOrder(path);
  if (!inOrder.isOpen()) return false;
  OpenedFile anyOrder(path);
  if (!anyOrder.isOpen()) std::abort();
  std::minstd_rand random(seed);
  expectAudioInAnyOrder(inOrder, anyOrder, random);
  expectFramesInAnyOrder(inOrder, anyOrder, random);
  return true;
}

}  // namespace fmp4
