// Reading frames of a day at random, compared with plain reads of the bytes that this takes: the fragment's
// "moof" and the frame.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>

#include "bench/host.h"
#include "bench/measure.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kFrames = 10000;

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  const std::string path = folder.file("day.mp4");
  DayFile day;
  day.write(path);
  const OpenRecording recording(mediaFileEntry(), path);
  const std::uint32_t frames = recording->GetTotalFrames();
  std::vector<std::uint8_t> frame(recording->Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr));
  const std::uint64_t fragmentBytes = std::filesystem::file_size(path) / day.fragments;
  const std::uint64_t moofBytes = day.moofBytes / day.fragments;

  const auto readFrames = [&] {
    return measureWork([&] {
      std::minstd_rand random(1);
      for (std::uint32_t i = 0; i < kFrames; ++i) {
        DFRAME d{};
        d.size = sizeof d;
        d.data = frame.data();
        if (recording->Read(static_cast<std::uint32_t>(random() % frames), 1, 1, QVR_MODE_VIDEO, &d,
                            nullptr) != VL_OK)
          throw std::runtime_error("no frame");
      }
    });
  };
  const int file = open(path.c_str(), O_RDONLY);
  const auto readPlainly = [&] {
    return measureWork([&] {
      std::minstd_rand random(1);
      for (std::uint32_t i = 0; i < kFrames; ++i) {
        const auto wanted = static_cast<std::uint32_t>(random() % frames);
        const std::uint64_t moof = fragmentBytes * (wanted / DayFile::kVideoSamples);
        const std::uint64_t media =
            moof + moofBytes + DayFile::kVideoBytes * (wanted % DayFile::kVideoSamples);
        if (pread(file, frame.data(), moofBytes, static_cast<off_t>(moof)) <= 0 ||
            pread(file, frame.data(), DayFile::kVideoBytes, static_cast<off_t>(media)) <= 0)
          throw std::runtime_error("no bytes");
      }
    });
  };
  std::vector<Measured> ours, plain;
  alternate(9, ours, plain, readFrames, readPlainly);
  close(file);
  const double frameTime = medianOf(ours, &Measured::wallSeconds),
               plainTime = medianOf(plain, &Measured::wallSeconds);
  std::printf("%u random frames: %.2f us each, plain reads %.2f us\n", kFrames, frameTime / kFrames * 1e6,
              plainTime / kFrames * 1e6);
  return report("time of random frames over that of plain reads", frameTime / plainTime, "<=", 3) ? 0 : 1;
}
