// Reading all frames of a large file in order, by calls and by the program that also checks them, compared
// with plain loops over the same bytes.
#include <cstdio>

#include "bench/host.h"
#include "bench/measure.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kFragments = 1500;  // about a gigabyte

// The program also calculates a check of each frame.
bool listing(const std::string& path) {
  std::vector<Measured> ours, plain;
  alternate(
      7, ours, plain,
      [&] {
        return measureProgram({VL_BIN_DIR "/fmp4", "--quiet", "frames", path});
      },
      [&] {
        return measureProgram({"dd", "if=" + path, "of=/dev/null", "bs=64k"});
      });
  return report("fmp4 frames: processor time over that of a plain read loop",
                ratioOf(ours, plain, &Measured::cpuSeconds), "<=", 1.5);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  const std::string path = folder.file("large.mp4");
  DayFile file;
  file.fragments = kFragments;
  file.write(path);
  const OpenRecording recording(mediaFileEntry(), path);
  const std::uint32_t frames = recording->GetTotalFrames();
  std::vector<std::uint8_t> frame(recording->Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr));
  std::vector<std::uint8_t> block(1 << 20);
  std::uint64_t videoBytes = 0;

  // One descriptor for all frames, as hosts do: it has thousands of bytes.
  DFRAME d{};
  d.size = sizeof d;
  d.data = frame.data();
  const auto readFrames = [&] {
    return measureWork([&] {
      videoBytes = 0;
      for (std::uint32_t i = 0; i < frames; ++i) {
        if (recording->Read(i, 1, 1, QVR_MODE_VIDEO, &d, nullptr) != VL_OK)
          throw std::runtime_error("no frame");
        videoBytes += d.bytes;
      }
    });
  };
  const auto readPlainly = [&] {
    return measureWork([&] {
      const VLHANDLE handle = vlOSCreateFile(path.c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr,
                                             VL_OPEN_EXISTING, 0, VL_NO_HANDLE);
      // As many bytes as the frames have, without the audio between them.
      std::uint32_t done = 0;
      for (std::uint64_t left = videoBytes; left > 0; left -= done) {
        const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, block.size()));
        if (!vlOSReadFile(handle, block.data(), count, &done) || done == 0)
          throw std::runtime_error("no bytes");
      }
      vlOSCloseFile(handle);
    });
  };
  std::vector<Measured> ours, plain;
  alternate(7, ours, plain, readFrames, readPlainly);
  const double frameTime = medianOf(ours, &Measured::wallSeconds),
               plainTime = medianOf(plain, &Measured::wallSeconds);
  std::printf("%u frames, %.2f GB: %.2f GB/s, plain loop %.2f GB/s\n", frames,
              static_cast<double>(videoBytes) / 1e9, static_cast<double>(videoBytes) / 1e9 / frameTime,
              static_cast<double>(videoBytes) / 1e9 / plainTime);
  const bool read = report("rate of reading frames over that of a plain read loop",
                           ratioOf(plain, ours, &Measured::wallSeconds), ">=", 0.95);
  return listing(path) && read ? 0 : 1;
}
