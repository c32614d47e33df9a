#include "plugin/refusals.h"

#include <cstdint>
#include <cstdlib>

#include "plugin/codec_data.h"
#include "plugin/messages.h"

namespace fmp4 {

namespace {

// A sample entry has 16 bits each for width, height and sample rate.
constexpr std::int64_t kMaxPixels = 0xFFFF;
constexpr std::uint32_t kMaxSampleRate = 0xFFFF;

}  // namespace

const char* videoRefusal(const QVRVIDEO& video) {
  const QVRSTREAMHEADER& stream = video.stream;
  // A tick is 1/1000 of a frame duration. Rejects rates that could not be normalised to that, and rates of
  // one frame per second and less, which the media timescale cannot distinguish from rates not normalised.
  if (stream.rate <= 1000 || (stream.scale != 1000 && stream.scale != 1001))
    return messages::kRateNotRecordable;
  const auto fits = [](std::int64_t pixels) { return pixels > 0 && pixels <= kMaxPixels; };
  if (!fits(video.bitmap.width) || !fits(std::llabs(std::int64_t{video.bitmap.height})))
    return messages::kSizeNotRecordable;
  return avcRecordOf(video) ? nullptr : messages::kConfigurationTooShort;
}

const char* audioRefusal(const QVRAUDIO& audio) {
  const std::uint32_t sampleRate = audio.wave.samplesPerSecond;
  if (sampleRate == 0 || sampleRate > kMaxSampleRate) return messages::kSampleRateNotRecordable;
  return audioConfigOf(audio) ? nullptr : messages::kConfigurationTooShort;
}

}  // namespace fmp4
