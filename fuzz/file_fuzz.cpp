// A complete file through the media-file object: open, describe, read frames, captions and audio in varying
// order, find key frames, close. Its fragments are also counted both ways, by their bytes and by their trees.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "fuzz/memory_file.h"
#include "plugin/fmp4_object.h"
#include "tests/support/counted_twice.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

// Maximum number of frames read per input.
constexpr std::uint32_t kMaxFrames = 64;
// The mode in which the host requests key frames.
constexpr std::int8_t kVideoDirection = 1;

void read(CMFFmp4& file, std::uint32_t frame, std::uint32_t mode) {
  std::vector<std::uint8_t> buffer(file.Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr) + 1);
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  descriptor.data = buffer.data();
  descriptor.dataCapacity = static_cast<std::uint32_t>(buffer.size() - 1);
  const bool delivered = file.Read(frame, 1, 1, mode, &descriptor, nullptr) == VL_OK;
  // More caption bytes than the array holds, or more bytes than the buffer takes, are invalid results.
  if (descriptor.captionBytes > sizeof descriptor.captions) std::abort();
  if (delivered && descriptor.bytes >= buffer.size()) std::abort();
}

// Ranges of audio from the start, and from anywhere in a track of `total` PCM frames.
void readAudio(CMFFmp4& file, std::uint32_t total, std::minstd_rand& random) {
  constexpr std::uint32_t kMaxSamples = 4096;
  std::vector<std::uint8_t> buffer(kMaxSamples * 16);
  for (std::uint32_t i = 0; i < 16; ++i) {
    DFRAME descriptor{};
    descriptor.size = sizeof descriptor;
    descriptor.data = buffer.data();
    descriptor.dataCapacity = static_cast<std::uint32_t>(buffer.size());
    const std::uint64_t anywhere = random() % (std::uint64_t{total} + 2);
    const std::uint32_t from = i % 2 ? QVR_NOT_SET : static_cast<std::uint32_t>(i == 0 ? 0 : anywhere);
    const auto count = static_cast<std::uint32_t>(random() % kMaxSamples);
    file.Read(from, count, 1, QVR_MODE_AUDIO, &descriptor, nullptr);
    if (descriptor.bytes > buffer.size()) std::abort();
  }
}

void readAll(CMFFmp4& file, std::uint32_t audioFrames, std::minstd_rand random) {
  const std::uint32_t total = file.GetTotalFrames();
  const std::uint32_t frames = std::min(total, kMaxFrames);
  for (std::uint32_t frame = 0; frame <= frames; ++frame) read(file, frame, QVR_MODE_VIDEO);
  for (std::uint32_t i = 0; i < frames; ++i) {
    const auto frame = static_cast<std::uint32_t>(random() % (std::uint64_t{total} + 1));
    read(file, frame, QVR_MODE_VIDEO | (i % 4 == 3 ? QVR_MODE_HEADER_ONLY : 0));
    if (i % 4 == 2) {
      for (const std::int32_t direction : {0, 1}) file.FindKeyFrame(1, kVideoDirection, frame, direction);
    }
  }
  readAudio(file, audioFrames, random);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

// The input is the file. Its last byte, sample data in an intact file, determines the read order.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (CountedTwice({data, size}).different) std::abort();
  static const MemoryFile input;
  input.set({data, size});
  CMFFmp4 file(kFileTypeCode);
  if (file.Open(input.path().c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr, VL_OPEN_EXISTING, 0,
                0) != VL_OK)
    return 0;
  const auto system = std::make_unique<QVRSYSTEM>();
  const auto video = std::make_unique<QVRVIDEO>();
  QVRAUDIO audio{};
  QVRINFO info{};
  file.GetFileInfo(1, system.get(), video.get(), &audio, &info);
  readAll(file, audio.stream.length, std::minstd_rand(size ? data[size - 1] : 0));
  file.Close();
  return 0;
}

}  // namespace fmp4
