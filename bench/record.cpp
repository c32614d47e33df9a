// Recording: packaging a gigabyte, compared with ffmpeg and with a program that only reads and writes it; a
// synthetic day with audio in the same file, whose memory and cost per segment must not grow; and an hour of
// the shortest segments with audio in a separate file, the most expensive case.
#include <sys/resource.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "bench/host.h"
#include "bench/measure.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

constexpr double kSourceSeconds = 10;
constexpr int kSourceCopies = 40;

// About a gigabyte of H.264 and AAC: ten noisy seconds, repeated.
std::string makeSource(const TempFolder& folder) {
  const std::string piece = folder.file("piece.mp4"), list = folder.file("list.txt"),
                    path = folder.file("source.mp4");
  makeMedia(piece,
            videoInput(kSourceSeconds, "30", "1280x720") + toneInput(kSourceSeconds) + h264Codec() +
                std::vector<std::string>{"-b:v", "21M", "-minrate", "21M", "-maxrate", "21M", "-bufsize",
                                         "4M", "-x264-params", "nal-hrd=cbr", "-c:a", "aac"});
  std::ofstream names(list);
  for (int i = 0; i < kSourceCopies; ++i) names << "file '" << piece << "'\n";
  names.close();
  makeMedia(path, "-f", "concat", "-safe", "0", "-i", list, "-c", "copy");
  return path;
}

Measured package(const TempFolder& folder, const std::string& source) {
  return measureProgram(
      {VL_BIN_DIR "/fmp4", "--quiet", "package", source, "--force", "--output", folder.file("out.mp4")});
}

bool packaging(const TempFolder& folder, const std::string& source) {
  std::printf("source: %.2f GB\n", static_cast<double>(std::filesystem::file_size(source)) / 1e9);
  std::vector<Measured> ours, theirs;
  alternate(
      5, ours, theirs, [&] { return package(folder, source); },
      [&] {
        return measureProgram({"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", source, "-c", "copy", "-f",
                               "dash", "-single_file", "1", "-use_template", "0", folder.file("dash.mpd")});
      });
  std::printf("package %.2f s, ffmpeg %.2f s (user and system, median of 5)\n",
              medianOf(ours, &Measured::cpuSeconds), medianOf(theirs, &Measured::cpuSeconds));
  return report("packaging a gigabyte: our processor time over ffmpeg's",
                ratioOf(ours, theirs, &Measured::cpuSeconds), "<=", 1);
}

bool packagingAndCopying(const TempFolder& folder, const std::string& source) {
  std::vector<Measured> ours, plain;
  alternate(
      7, ours, plain, [&] { return package(folder, source); },
      [&] {
        return measureProgram({"dd", "if=" + source, "of=" + folder.file("copy.mp4"), "bs=64k"});
      });
  return report("packaging a gigabyte: our processor time over a plain loop's",
                ratioOf(ours, plain, &Measured::cpuSeconds), "<=", 1.3);
}

long peakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Records frames and access units of 100 bytes through the plug-in, at this rate with audio.
class SyntheticRecording {
 public:
  SyntheticRecording(const std::string& path, std::uint32_t rate, std::uint32_t interval) : rate_(rate) {
    MFXOPEN request{147,
                    VL_GENERIC_READ | VL_GENERIC_WRITE,
                    path.c_str(),
                    VL_SHARE_READ_WRITE,
                    VL_CREATE_ALWAYS,
                    nullptr,
                    0,
                    0};
    file_ = reinterpret_cast<CAMediaFile*>(static_cast<std::intptr_t>(entry_(nullptr, MFX_OPEN, &request)));
    if (!file_) throw std::runtime_error("the recording cannot be created");
    file_->SetCodecOption(1, 0, kOptionKeyFrameInterval, interval, nullptr);
    const auto video = std::make_unique<QVRVIDEO>();
    QVRAUDIO audio{};
    file_->GetFileInfo(1, nullptr, video.get(), &audio, nullptr);
    video->stream.rate = rate;
    video->stream.scale = 1;
    audio.wave.channels = 2;
    file_->SetFileInfo(3, nullptr, video.get(), &audio, nullptr);
    descriptor_->size = sizeof(DFRAME);
    descriptor_->data = bytes_.data();
    descriptor_->bytes = static_cast<std::uint32_t>(bytes_.size());
  }
  ~SyntheticRecording() { close(); }
  SyntheticRecording(const SyntheticRecording&) = delete;
  SyntheticRecording& operator=(const SyntheticRecording&) = delete;

  void writeSeconds(std::uint32_t seconds) {
    for (const std::uint64_t end = frames_ + std::uint64_t{seconds} * rate_; frames_ < end; ++frames_) {
      for (; audioUnits_ * 1024 * rate_ < (frames_ + 1) * 48000; ++audioUnits_)
        file_->Write(0, 1, 3, QVR_MODE_AUDIO, descriptor_.get(), nullptr);
      file_->Write(static_cast<std::uint32_t>(frames_), 1, 1, QVR_MODE_VIDEO, descriptor_.get(), nullptr);
    }
  }

  void close() {
    MFXCLOSE request{};
    if (file_) entry_(file_, MFX_CLOSE, &request);
    file_ = nullptr;
  }

 private:
  static constexpr std::uint32_t kOptionKeyFrameInterval = 8;

  const MediaFileEntry entry_ = mediaFileEntry();
  std::uint32_t rate_;
  CAMediaFile* file_ = nullptr;
  std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(100, 0x55);
  std::unique_ptr<DFRAME> descriptor_ = std::make_unique<DFRAME>();
  std::uint64_t frames_ = 0;
  std::uint64_t audioUnits_ = 0;
};

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// A day at 30 frames per second, reported hour by hour. It must verify.
bool day(const TempFolder& folder) {
  constexpr std::uint32_t kHours = 24;
  const std::string path = folder.file("day.ismv");
  SyntheticRecording recording(path, 30, 1);
  std::vector<double> seconds;
  long afterFirstHour = 0;
  for (std::uint32_t hour = 0; hour < kHours; ++hour) {
    const double start = processorSeconds();
    recording.writeSeconds(3600);
    seconds.push_back(processorSeconds() - start);
    if (hour == 0) afterFirstHour = peakKilobytes();
  }
  const long grown = peakKilobytes() - afterFirstHour;
  recording.close();
  runOrThrow({VL_BIN_DIR "/fmp4", "verify", path});
  std::printf("a day, verified; processor time of hours: first %.2f s, twelfth %.2f s, last %.2f s\n",
              seconds[0], seconds[11], seconds[23]);
  // The text of the manifest is all that may grow: some hundred bytes a segment.
  const bool flat = report("memory growth over 23 hours and 8280 segments, kilobytes",
                           static_cast<double>(grown), "<=", 4096);
  return report("a day: processor time of the last hour over the second's", seconds[23] / seconds[1],
                "<=", 2) &&
         flat;
}

// An hour at 60 frames per second with a key frame every second frame: 10,800 segments, each
// listed and waited for. Measured in wall-clock time, as waiting is the main cost.
bool shortSegments(const TempFolder& folder) {
  const std::string path = folder.file("short.m4v");
  const double seconds = measureWork([&] {
                           SyntheticRecording recording(path, 60, 2);
                           recording.writeSeconds(3600);
                         }).wallSeconds;
  runOrThrow({VL_BIN_DIR "/fmp4", "verify", path});
  return report("segments of a third of a second: time to record, over real time", seconds / 3600, "<=", 0.1);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  // The day runs first: a child process inherits its parent's peak.
  const bool flat = day(folder);
  const bool quick = shortSegments(folder);
  const std::string source = makeSource(folder);
  const bool asFfmpeg = packaging(folder, source);
  return packagingAndCopying(folder, source) && asFfmpeg && flat && quick ? 0 : 1;
}
