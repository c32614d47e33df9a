// Describes a file: describe FILE
#include <cstdio>
#include <exception>
#include <memory>

#include "plugin.h"
#include "qvr.h"

int main(int argc, char** argv) try {
  if (argc != 2) return std::fprintf(stderr, "describe FILE\n"), 2;
  const Plugin plugin;
  if (!plugin.accepts(argv[1])) return std::printf("refused\n"), 1;
  const Plugin::File file = plugin.open(argv[1]);

  const auto video = std::make_unique<QVRVIDEO>();  // it holds a codec configuration: too large for a stack
  QVRAUDIO audio = {};
  if (file->VidChan() != 0) {
    constexpr std::uint32_t kVideo = 1;
    file->GetFileInfo(kVideo, nullptr, video.get(), nullptr, nullptr);
    std::printf("video: %d x %d, %u/%u frames a second, %u frames\n", video->bitmap.width,
                video->bitmap.height, video->stream.rate, video->stream.scale, file->GetTotalFrames());
  }
  if (file->AudChan() != 0) {
    constexpr std::uint32_t kFirstPair = 3;
    file->GetFileInfo(kFirstPair, nullptr, nullptr, &audio, nullptr);
    std::printf("audio: %u channels, %u Hz, %u samples\n", audio.wave.channels, audio.wave.samplesPerSecond,
                audio.stream.length);
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
