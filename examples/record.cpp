// Copies the video of a file into a new recording: record SOURCE OUTPUT.mp4
// Makes OUTPUT.m4v, its manifest OUTPUT.mpd and its playlist OUTPUT.m3u8.
#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

#include "plugin.h"
#include "qvr.h"

int main(int argc, char** argv) try {
  constexpr std::uint32_t kVideo = 1;
  if (argc != 3) return std::fprintf(stderr, "record SOURCE OUTPUT.mp4\n"), 2;
  const Plugin plugin;
  const Plugin::File source = plugin.open(argv[1]);
  const Plugin::File output = plugin.create(argv[2]);

  // The description specifies the video: size, rate and codec configuration.
  const auto video = std::make_unique<QVRVIDEO>();
  source->GetFileInfo(kVideo, nullptr, video.get(), nullptr, nullptr);
  if (output->SetFileInfo(kVideo, nullptr, video.get(), nullptr, nullptr) != VL_OK)
    return std::fprintf(stderr, "the description is refused\n"), 1;

  std::vector<std::uint8_t> buffer(source->Read(0, 1, kVideo, QVR_MODE_VIDEO, nullptr, nullptr));
  const auto request = std::make_unique<DFRAME>();
  for (std::uint32_t frame = 0; frame < source->GetTotalFrames(); ++frame) {
    *request = {};
    request->size = sizeof *request;
    request->data = buffer.data();
    request->dataCapacity = static_cast<std::uint32_t>(buffer.size());
    // Each frame is written as it was read: bytes, key flag, composition offset.
    if (source->Read(frame, 1, kVideo, QVR_MODE_VIDEO, request.get(), nullptr) != VL_OK ||
        output->Write(frame, 1, kVideo, QVR_MODE_VIDEO, request.get(), nullptr) != VL_OK)
      return std::fprintf(stderr, "frame %u cannot be copied\n", frame), 1;
  }
  // Closing completes and lists the last segment; its result is whether everything reached the disk.
  MFXCLOSE closing = {};
  return output->MFXCmd(MFX_CLOSE, &closing) == VL_OK ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
