// Recording: packaging a gigabyte against ffmpeg, and a synthetic day with sound in the same file, whose
// memory and whose cost a segment must not grow.
#include <sys/resource.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "host.h"
#include "measure.h"
#include "places.h"
#include "support/ffmpeg.h"
#include "support/temp_folder.h"

namespace {

constexpr double kSourceSeconds = 10;
constexpr int kSourceCopies = 40;

// About a gigabyte of H.264 and AAC: ten noisy seconds over and over.
std::string makeSource(const TempFolder& folder) {
  const std::string piece = folder.file("piece.mp4"), list = folder.file("list.txt"),
                    path = folder.file("source.mp4");
  makeMedia(piece,
            pictureInput(kSourceSeconds, "30", "1280x720") + toneInput(kSourceSeconds) + h264Codec() +
                std::vector<std::string>{"-b:v", "21M", "-minrate", "21M", "-maxrate", "21M", "-bufsize",
                                         "4M", "-x264-params", "nal-hrd=cbr", "-c:a", "aac"});
  std::ofstream names(list);
  for (int i = 0; i < kSourceCopies; ++i) names << "file '" << piece << "'\n";
  names.close();
  makeMedia(path, "-f", "concat", "-safe", "0", "-i", list, "-c", "copy");
  return path;
}

bool packaging(const TempFolder& folder) {
  const std::string source = makeSource(folder);
  std::printf("source: %.2f GB\n", static_cast<double>(std::filesystem::file_size(source)) / 1e9);
  std::vector<Measured> ours, theirs;
  alternate(
      5, ours, theirs,
      [&] {
        return measureProgram(
            {VL_BIN_DIR "/fmp4", "--quiet", "package", source, "--output", folder.file("out.mp4")});
      },
      [&] {
        return measureProgram({"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", source, "-c", "copy", "-f",
                               "dash", "-single_file", "1", "-use_template", "0", folder.file("dash.mpd")});
      });
  const double our = medianOf(ours, &Measured::cpuSeconds), their = medianOf(theirs, &Measured::cpuSeconds);
  std::printf("package %.2f s, ffmpeg %.2f s (user and system, median of 5)\n", our, their);
  return report("our processor time over ffmpeg's", our / their, "<=", 1);
}

long peakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// A day of frames of 100 bytes at 30 frames a second, with sound; told hour by hour. It must verify.
bool day(const TempFolder& folder) {
  constexpr std::uint32_t kHours = 24, kFramesAnHour = 30 * 3600;
  const std::string path = folder.file("day.ismv");
  MFXOPEN request{147,
                  VL_GENERIC_READ | VL_GENERIC_WRITE,
                  path.c_str(),
                  VL_SHARE_READ_WRITE,
                  VL_CREATE_ALWAYS,
                  nullptr,
                  0,
                  0};
  const MediaFileEntry entry = mediaFileEntry();
  auto* const file =
      reinterpret_cast<CAMediaFile*>(static_cast<std::intptr_t>(entry(nullptr, MFX_OPEN, &request)));
  if (!file) throw std::runtime_error("the recording cannot be created");
  const auto video = std::make_unique<QVRVIDEO>();
  QVRAUDIO audio{};
  file->GetFileInfo(1, nullptr, video.get(), &audio, nullptr);
  video->stream.rate = 30;
  video->stream.scale = 1;
  audio.wave.channels = 2;
  file->SetFileInfo(3, nullptr, video.get(), &audio, nullptr);

  std::vector<std::uint8_t> bytes(100, 0x55);
  const auto descriptor = std::make_unique<DFRAME>();
  descriptor->size = sizeof(DFRAME);
  descriptor->data = bytes.data();
  descriptor->bytes = static_cast<std::uint32_t>(bytes.size());
  std::uint64_t sound = 0;
  std::vector<double> seconds;
  long afterFirstHour = 0;
  for (std::uint32_t hour = 0; hour < kHours; ++hour) {
    seconds.push_back(measureWork([&] {
                        for (std::uint32_t i = 0; i < kFramesAnHour; ++i) {
                          const std::uint64_t frame = std::uint64_t{hour} * kFramesAnHour + i;
                          for (; sound * 1024 * 30 < (frame + 1) * 48000; ++sound)
                            file->Write(0, 1, 3, QVR_MODE_AUDIO, descriptor.get(), nullptr);
                          file->Write(static_cast<std::uint32_t>(frame), 1, 1, QVR_MODE_VIDEO,
                                      descriptor.get(), nullptr);
                        }
                      }).wallSeconds);
    if (hour == 0) afterFirstHour = peakKilobytes();
  }
  const long grown = peakKilobytes() - afterFirstHour;
  MFXCLOSE close{};
  entry(file, MFX_CLOSE, &close);
  runOrThrow({VL_BIN_DIR "/fmp4", "verify", path});
  std::printf("verified; hours: first %.2f s, twelfth %.2f s, last %.2f s\n", seconds[0], seconds[11],
              seconds[23]);
  // The manifest's tree of segments is all that may grow: some hundred bytes each.
  return report("kilobytes grown over 23 hours and 8280 segments", static_cast<double>(grown), "<=", 16384);
}

}  // namespace

int main() {
  const TempFolder folder;
  // The day first: a child starts from its parent's peak.
  const bool flat = day(folder);
  return packaging(folder) && flat ? 0 : 1;
}
