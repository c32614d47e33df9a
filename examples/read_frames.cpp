// Reads frames and the audio that plays with them: read_frames FILE FIRST COUNT
// Prints a line for each frame: its number, its size, whether it is a key frame, and the bytes of PCM.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <vector>

#include "plugin.h"
#include "qvr.h"

namespace {

constexpr std::uint32_t kVideo = 1, kFirstPair = 3;  // channel masks

// One compressed frame, as it is stored.
bool readFrame(CAMediaFile& file, std::uint32_t frame, std::vector<std::uint8_t>& buffer, DFRAME& request) {
  request = {};
  request.size = sizeof request;
  request.data = buffer.data();
  request.dataCapacity = static_cast<std::uint32_t>(buffer.size());
  return file.Read(frame, 1, kVideo, QVR_MODE_VIDEO, &request, nullptr) == VL_OK;
}

// `count` samples of every channel, starting at `position`, as PCM.
std::uint32_t readAudio(CAMediaFile& file, std::uint64_t position, std::uint32_t count,
                        std::vector<std::uint8_t>& buffer, DFRAME& request) {
  request = {};
  request.size = sizeof request;
  request.data = buffer.data();
  request.dataCapacity = static_cast<std::uint32_t>(buffer.size());
  file.Read(static_cast<std::uint32_t>(position), count, kFirstPair, QVR_MODE_AUDIO, &request, nullptr);
  return request.bytes;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 4) return std::fprintf(stderr, "read_frames FILE FIRST COUNT\n"), 2;
  const Plugin plugin;
  const Plugin::File file = plugin.open(argv[1]);
  const auto video = std::make_unique<QVRVIDEO>();
  QVRAUDIO audio = {};
  file->GetFileInfo(kVideo, nullptr, video.get(), nullptr, nullptr);
  if (file->AudChan() != 0) file->GetFileInfo(kFirstPair, nullptr, nullptr, &audio, nullptr);

  // A read without a descriptor returns the size of the largest frame.
  std::vector<std::uint8_t> frameBuffer(file->Read(0, 1, kVideo, QVR_MODE_VIDEO, nullptr, nullptr));
  const double samplesPerFrame =
      static_cast<double>(audio.wave.samplesPerSecond) * video->stream.scale / video->stream.rate;
  std::vector<std::uint8_t> pcm((static_cast<std::size_t>(samplesPerFrame) + 1) * audio.wave.blockAlign);

  const auto request = std::make_unique<DFRAME>();
  const auto first = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10));
  const auto count = static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10));
  for (std::uint32_t frame = first; frame < first + count; ++frame) {
    if (!readFrame(*file, frame, frameBuffer, *request))
      return std::fprintf(stderr, "frame %u cannot be read\n", frame), 1;
    const std::uint32_t bytes = request->bytes;
    const char* const key = request->flags & DFRAME_KEY ? "key" : "-";
    const auto begin = static_cast<std::uint64_t>(frame * samplesPerFrame);
    const auto end = static_cast<std::uint64_t>((frame + 1) * samplesPerFrame);
    const std::uint32_t audioBytes =
        pcm.empty() ? 0 : readAudio(*file, begin, static_cast<std::uint32_t>(end - begin), pcm, *request);
    std::printf("%u %u %s %u\n", frame, bytes, key, audioBytes);
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
