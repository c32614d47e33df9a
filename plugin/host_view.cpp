#include "plugin/host_view.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/exact_time.h"

namespace fmp4 {

namespace {

constexpr char kStreamName[] = "Fmp4";
constexpr std::uint32_t kDefaultWidth = 720;
constexpr std::uint32_t kDefaultHeight = 480;
constexpr std::uint32_t kBitmapHeaderBytes = 40;
constexpr std::uint32_t kDefaultVideoBuffer = 1296000;

std::uint32_t frameHeight(const QVRVIDEO& video) {
  return static_cast<std::uint32_t>(std::llabs(std::int64_t{video.bitmap.height}));
}

}  // namespace

void HostView::resetDescriptions() const {
  video = {};
  video.fileType = kFileTypeCode;
  video.stream.type = QVR_FCC_VIDS;
  video.stream.scale = 1001;
  video.stream.rate = 30000;
  video.stream.suggestedBufferSize = kDefaultVideoBuffer;
  video.stream.quality = QVR_NOT_SET;
  video.stream.frameRight = kDefaultWidth;
  video.stream.frameBottom = kDefaultHeight;
  std::strcpy(video.stream.name, kStreamName);
  video.bitmap.size = kBitmapHeaderBytes;
  video.bitmap.width = kDefaultWidth;
  video.bitmap.height = kDefaultHeight;
  video.bitmap.planes = 1;
  video.bitmap.bitCount = 24;
  video.bitmap.sizeImage = kDefaultWidth * kDefaultHeight * 3;

  audio = {};
  audio.fileType = kFileTypeCode;
  audio.stream.type = QVR_FCC_AUDS;
  audio.stream.quality = QVR_NOT_SET;
  std::strcpy(audio.stream.name, kStreamName);
  audio.wave.formatTag = 1;
  audio.wave.samplesPerSecond = 48000;
  audio.wave.bitsPerSample = 16;

  info = {};
  info.startTimecode = info.startTimecodeLtc = info.startTimecodeVitc = QVR_NOT_SET;

  system = {};
  system.fileType = kFileTypeCode;
  system.paddingGranularity = 2048;
  std::strcpy(system.name, kStreamName);
  recomputeMainHeader();
}

void HostView::recomputeMainHeader() const {
  const QVRSTREAMHEADER& stream = video.stream;
  system.microSecondsPerFrame =
      static_cast<std::uint32_t>(std::trunc(1000000.0 / (static_cast<double>(stream.rate) / stream.scale)));
  // Intended (quirk 3): bytes per frame times scale over rate, which is not a byte rate, but hosts expect
  // this value.
  system.maximumBytesPerSecond = saturate<std::uint32_t>(
      std::uint64_t{video.bitmap.sizeImage} * stream.scale / stream.rate + audio.wave.averageBytesPerSecond);
  system.totalFrames = stream.length;
  system.suggestedBufferSize = audio.stream.suggestedBufferSize + stream.suggestedBufferSize;
  system.width = static_cast<std::uint32_t>(video.bitmap.width);
  system.height = frameHeight(video);
  system.scale = stream.scale;
  system.rate = stream.rate;
  system.length = stream.length;
}

std::uint32_t HostView::countStreams(std::uint32_t kind) const {
  const auto isOfKind = [kind](const auto& holder) { return holder->kind == kind; };
  return static_cast<std::uint32_t>(std::count_if(streams.begin(), streams.end(), isOfKind));
}

}  // namespace fmp4
