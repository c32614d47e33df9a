// Half a second of audio at random positions, compared with decoding the access units that it takes: those
// played, and the fewest before them that make the decoder converge. Decoding them is timed by reading the
// track from start to end.
#include <cstdint>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <vector>

#include "audio/umc/aac/aac_decoder.h"
#include "bench/host.h"
#include "bench/measure.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kRate = 48000;
constexpr std::uint32_t kHalfSecond = kRate / 2;
constexpr int kRepetitions = 72;  // about five minutes of a four-second sample stream
constexpr int kReads = 200;

// The frames of an ADTS stream, by the lengths in their headers.
std::vector<Bytes> splitAdts(const Bytes& stream) {
  std::vector<Bytes> frames;
  for (std::size_t at = 0; at + 7 <= stream.size();) {
    const std::size_t length = (stream[at + 3] & 3u) << 11 | stream[at + 4] * 8u | stream[at + 5] >> 5u;
    if (length < 7 || at + length > stream.size()) break;
    frames.emplace_back(stream.data() + at, stream.data() + at + length);
    at += length;
  }
  return frames;
}

// The number of frames that a decoder without history takes to converge, from frame `first` of a repeated
// stream on; more than there are if it does not.
std::size_t framesToConverge(const std::vector<Bytes>& frames, std::size_t first) {
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  if (decoder.Init(&params) != UMC::UMC_OK) throw std::runtime_error("no decoder");
  Bytes samples(1 << 18);
  for (std::size_t count = 1; count <= frames.size(); ++count) {
    Bytes frame = frames[(first + count - 1) % frames.size()];
    UMC::MediaData in, out;
    in.SetBufferPointer(frame.data(), frame.size());
    in.SetDataSize(frame.size());
    out.SetBufferPointer(samples.data(), samples.size());
    if (decoder.GetFrame(&in, &out) != UMC::UMC_OK) throw std::runtime_error("a frame does not decode");
    if (decoder.Converged()) return count;
  }
  return frames.size() + 1;
}

// The average over all frames of the fewest frames before one that make a decoder converge.
double fewestBefore(const std::vector<Bytes>& frames) {
  std::vector<std::size_t> toConverge;
  for (std::size_t i = 0; i < frames.size(); ++i) toConverge.push_back(framesToConverge(frames, i));
  std::size_t sum = 0;
  for (std::size_t target = 0; target < frames.size(); ++target) {
    std::size_t before = 1;
    while (before < frames.size() && toConverge[(target + frames.size() - before) % frames.size()] > before)
      ++before;
    sum += before;
  }
  return static_cast<double>(sum) / static_cast<double>(frames.size());
}

void readAudio(const OpenRecording& recording, std::uint32_t position, std::uint32_t count, Bytes& out) {
  DFRAME d{};
  d.size = sizeof d;
  d.data = out.data();
  d.dataCapacity = static_cast<std::uint32_t>(out.size());
  if (recording->Read(position, count, 1, QVR_MODE_AUDIO, &d, nullptr) != VL_OK)
    throw std::runtime_error("no audio");
}

// Frames of the stream are `frameSamples` long at 48 kHz.
bool measure(const char* name, const std::string& sampleName, std::uint32_t frameSamples) {
  const TempFolder folder;
  const Bytes sample = readFile(VL_TEST_DATA "/" + sampleName);
  Bytes repeated;
  for (int i = 0; i < kRepetitions; ++i) repeated.insert(repeated.end(), sample.begin(), sample.end());
  const std::string stream = folder.file("repeated.aac"), clip = folder.file("clip.mp4");
  writeFile(stream, repeated);
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", stream, "-c", "copy", "-bsf:a", "aac_adtstoasc",
              "-movflags", "delay_moov+default_base_moof", "-frag_duration", "500000", clip});

  const std::vector<Bytes> frames = splitAdts(sample);
  const auto total = static_cast<std::uint32_t>(frames.size()) * kRepetitions;
  const OpenRecording recording(mediaFileEntry(), clip);
  Bytes out(kHalfSecond * 2 * 8);
  std::mt19937 random(1);
  const auto atRandom = [&] {
    return measureWork([&] {
      for (int i = 0; i < kReads; ++i)
        readAudio(recording, static_cast<std::uint32_t>(random() % (total * frameSamples - kHalfSecond)),
                  kHalfSecond, out);
    });
  };
  const auto inOrder = [&] {
    return measureWork([&] {
      for (std::uint32_t at = 0; at + kHalfSecond <= total * frameSamples; at += kHalfSecond)
        readAudio(recording, at, kHalfSecond, out);
    });
  };
  std::vector<Measured> jumping, reading;
  alternate(5, jumping, reading, atRandom, inOrder);
  const double perFrame = medianOf(reading, &Measured::cpuSeconds) / total,
               perRead = medianOf(jumping, &Measured::cpuSeconds) / kReads;
  // A range that starts anywhere in a frame takes one more than its length in frames.
  const double needed = fewestBefore(frames) + static_cast<double>(kHalfSecond) / frameSamples + 1;
  std::printf("%s: %.3f ms a read, %.1f access units of %.1f us needed\n", name, perRead * 1e3, needed,
              perFrame * 1e6);
  const std::string what = std::string(name) + ": time of a random read over that of its access units";
  return report(what.c_str(), perRead / (needed * perFrame), "<=", 2);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  bool met = measure("AAC-LC", "lc_51_48k.aac", 1024);
  met = measure("HE-AAC", "he_v1_stereo_48k.aac", 2048) && met;
  met = measure("HE-AAC v2", "he_v2_48k.aac", 2048) && met;
  return met ? 0 : 1;
}
