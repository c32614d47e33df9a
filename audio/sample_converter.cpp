#include "audio/sample_converter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "audio/ffmpeg_abi.h"

namespace fmp4 {

namespace {

constexpr std::size_t kValueBytes = sizeof(std::int16_t);
constexpr std::size_t kPairBytes = 2 * kValueBytes;

// ---- One sample ---------------------------------------------------------------------------------------

// Intended (quirk 27): the midpoint of the range, 128, does not map to 0.
std::uint16_t toPcm(std::uint8_t sample) {
  return static_cast<std::uint16_t>(sample << 8);
}
std::uint16_t toPcm(std::int16_t sample) {
  return static_cast<std::uint16_t>(sample);
}
std::uint16_t toPcm(std::int32_t sample) {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(sample) >> 16);
}
// Intended (quirk 28): full scale wraps, +1.0 becomes -32768. Values that no integer can hold become 0.
std::uint16_t toPcm(double sample) {
  constexpr double kWholeNumbersEnd = 9223372036854775808.0;  // 2^63
  const double scaled = sample * 32768.0;
  if (!(std::fabs(scaled) < kWholeNumbersEnd)) return 0;
  return static_cast<std::uint16_t>(static_cast<std::int64_t>(scaled));
}
std::uint16_t toPcm(float sample) {
  return toPcm(static_cast<double>(sample));
}

// ---- Sources of the two values of a pair --------------------------------------------------------------

struct Value {
  const std::uint8_t* plane;
  std::size_t first;  // index of the plane's sample for the first frame
};

struct Pairing {
  Value value1;
  Value value2;
  std::size_t step;  // samples in a plane per frame
  bool fillsMissing = false;
};

// The choices here are intended (quirk 26), asymmetric as they are: hosts rely on how each format sounds.
// Value 2 carries the first channel.

// Interleaved 8-bit, 16-bit and double samples.
Pairing pairInterleaved(const DecodedSamples& source) {
  const std::size_t second = source.channels > 1 ? 1 : 0;
  return {{source.planeA, second}, {source.planeA, 0}, static_cast<std::size_t>(source.channels)};
}

// The same for planar samples: the first plane alone, twice.
Pairing pairFirstPlane(const DecodedSamples& source) {
  return {{source.planeA, 0}, {source.planeA, 0}, 1};
}

// Interleaved float: the second channel is expected in a second plane, which such frames rarely have; a
// single channel is paired with its own next sample.
Pairing pairInterleavedFloat(const DecodedSamples& source) {
  const std::uint8_t* const plane1 = source.channels > 1 ? source.planeB : source.planeA;
  return {{plane1, 1}, {source.planeA, 0}, static_cast<std::size_t>(source.channels)};
}

Pairing pairPlanarFloat(const DecodedSamples& source) {
  return {{source.channels > 1 ? source.planeB : source.planeA, 0}, {source.planeA, 0}, 1};
}

// Interleaved 32-bit: without a second plane all samples are treated as one channel.
Pairing pairInterleaved32(const DecodedSamples& source) {
  const std::size_t step = source.planeB ? static_cast<std::size_t>(source.channels) : 1;
  return {{source.planeB, 1}, {source.planeA, 0}, step, true};
}

Pairing pairPlanar32(const DecodedSamples& source) {
  return {{source.planeB, 0}, {source.planeA, 0}, 1, true};
}

// ---- The samples of a frame ---------------------------------------------------------------------------

// Writes one value of every pair. `samples` is the number of samples in a plane; the offset of "one sample
// in" may go past the last one, which is then repeated.
template <class Sample>
void writeValues(const Value& value, const Pairing& pairing, std::size_t samples, std::size_t frames,
                 std::uint8_t* out) {
  if (value.plane == nullptr && !pairing.fillsMissing) return;
  for (std::size_t i = 0; i < frames; ++i) {
    std::uint16_t pcm = 0;
    if (value.plane != nullptr) {
      const std::size_t place = std::min(value.first + i * pairing.step, samples - 1);
      Sample sample;
      std::memcpy(&sample, value.plane + place * sizeof sample, sizeof sample);
      pcm = toPcm(sample);
    }
    std::memcpy(out + i * kPairBytes, &pcm, kValueBytes);
  }
}

template <class Sample>
void writePairs(const Pairing& pairing, std::size_t samples, std::size_t frames, std::uint8_t* out) {
  writeValues<Sample>(pairing.value1, pairing, samples, frames, out);
  writeValues<Sample>(pairing.value2, pairing, samples, frames, out + kValueBytes);
}

}  // namespace

std::uint32_t ConvertSamples(const DecodedSamples& source, std::uint8_t* destination, std::uint64_t byteLimit,
                             std::uint64_t frameLimit) {
  using namespace ffmpeg57;
  if (source.channels < 1 || source.frames < 1) return 0;
  const auto channels = static_cast<std::size_t>(source.channels);
  const std::uint64_t most = std::min<std::uint64_t>(static_cast<std::uint64_t>(source.frames), frameLimit);
  const auto limited = [&](std::size_t sampleBytes) {
    return static_cast<std::size_t>(std::min(most, byteLimit / sampleBytes / channels));
  };
  const auto inPlane = static_cast<std::size_t>(source.frames);
  const std::size_t interleaved = inPlane * channels;
  std::size_t frames = 0;
  switch (source.format) {
    case kU8:
      frames = limited(sizeof(std::uint8_t));
      writePairs<std::uint8_t>(pairInterleaved(source), interleaved, frames, destination);
      break;
    case kU8Planar:
      frames = limited(sizeof(std::uint8_t));
      writePairs<std::uint8_t>(pairFirstPlane(source), inPlane, frames, destination);
      break;
    case kS16:
      frames = limited(sizeof(std::int16_t));
      writePairs<std::int16_t>(pairInterleaved(source), interleaved, frames, destination);
      break;
    case kS16Planar:
      frames = limited(sizeof(std::int16_t));
      writePairs<std::int16_t>(pairFirstPlane(source), inPlane, frames, destination);
      break;
    case kS32:
      frames = limited(sizeof(std::int32_t));
      writePairs<std::int32_t>(pairInterleaved32(source), interleaved, frames, destination);
      break;
    case kS32Planar:
      frames = limited(sizeof(std::int32_t));
      writePairs<std::int32_t>(pairPlanar32(source), inPlane, frames, destination);
      break;
    // Intended (quirk 29): the byte limit does not apply to float formats.
    case kFloat:
      frames = static_cast<std::size_t>(most);
      writePairs<float>(pairInterleavedFloat(source), interleaved, frames, destination);
      break;
    case kFloatPlanar:
      frames = static_cast<std::size_t>(most);
      writePairs<float>(pairPlanarFloat(source), inPlane, frames, destination);
      break;
    case kDouble:
      frames = limited(sizeof(double));
      writePairs<double>(pairInterleaved(source), interleaved, frames, destination);
      break;
    case kDoublePlanar:
      frames = limited(sizeof(double));
      writePairs<double>(pairFirstPlane(source), inPlane, frames, destination);
      break;
    default:
      break;
  }
  return static_cast<std::uint32_t>(frames * kPairBytes);
}

}  // namespace fmp4
