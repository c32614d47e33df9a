// The decode wrapper over FFmpeg's libraries, for which stand-ins answer what the input says: results,
// formats, numbers of samples, packets that are used in parts.
#include <dlfcn.h>

#include <cstring>
#include <string>
#include <string_view>

#include "audio/ffmpeg_loader.h"
#include "fuzz/wrapper_fuzz.h"
#include "tests/audio/ffmpeg_stand_in.h"
#include "vlutil.h"

// In place of the host's, which does not find the stand-ins.
void* vlOSLoadLibrary(const char* path, std::uint32_t) {
  const bool isAvcodec = std::string_view(path).find("avcodec") != std::string_view::npos;
  const std::string file = std::string(STAND_INS) + (isAvcodec ? "/libavcodec.so.57" : "/libavutil.so.55");
  return dlopen(file.c_str(), RTLD_NOW);
}

namespace fmp4 {

namespace {

// Makes any sample a packet of the stand-in whose planes hold what its header says, as FFmpeg promises.
void preparePacket(std::vector<std::uint8_t>& sample) {
  StandInPacket head;
  if (sample.size() < sizeof head) return;
  std::memcpy(&head, sample.data(), sizeof head);
  const auto within = [](std::int32_t value, std::int32_t end) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) % static_cast<std::uint32_t>(end));
  };
  static constexpr std::int32_t kSampleBytes[] = {1, 2, 4, 4, 8};
  const auto size = static_cast<std::int32_t>(sample.size());
  const std::int32_t space = size - static_cast<std::int32_t>(sizeof head);
  // A failure, all of the packet, or all but a rest that is no packet.
  const std::int32_t result = within(head.result, static_cast<std::int32_t>(sizeof head) + 2) - 1;
  head.result = result > 0 ? std::max(size - result, 1) : result;
  head.gotFrame &= 1;
  head.format = within(head.format, 12) - 1;
  head.channels = within(head.channels, 10) - 1;
  const bool isPlanar = head.format >= 5, hasSecond = (head.planeBBytes & 1) != 0;
  const std::int32_t samplesOfAFrame = isPlanar || head.channels < 1 ? 1 : head.channels;
  const std::int32_t frameBytes = kSampleBytes[head.format < 0 ? 0 : head.format % 5] * samplesOfAFrame;
  head.samples = space / frameBytes / (hasSecond ? 2 : 1);
  head.planeABytes = head.samples * frameBytes;
  head.planeBBytes = hasSecond ? head.planeABytes : 0;
  std::memcpy(sample.data(), &head, sizeof head);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  std::uint32_t allowed = 1;
  vlCFGValueDword(VL_CFG_DEFAULT_ROOT, "Framewright\\Codecs\\FFMPEG", "AllowFFMPEG", &allowed, VL_CFG_WRITE);
  // libavcodec looks for libavutil by name.
  if (vlOSLoadLibrary("avutil", 0) == nullptr || LoadFFmpeg() != VL_FFMPEG_AVAILABLE) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzWrapper(VL_FCC_MP2, data, size, preparePacket);
  return 0;
}

}  // namespace fmp4
