// Decoding ten minutes of stereo AAC-LC and HE-AAC in a separate process, compared with the ffmpeg program on
// one thread and, for HE-AAC, the faad program.
#include <algorithm>

#include "bench/compare_user_time.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// Drifting tones, bursts and noise, which exercise an encoder's tools.
const std::string kTones = "0.25*sin(440*2*PI*t)+0.2*sin(1234*2*PI*t+sin(3*t))+0.1*sin(5000*2*PI*t)";
const std::string kLeft = kTones + "+0.08*(random(0)-0.5)";
const std::string kRight = kTones + "+exp(-40*mod(t\\,0.5))*(random(2)-0.5)+0.1*(random(1)-0.5)";

Command oursDecoding(const std::string& stream) {
  return {VL_BIN_DIR "/decode_aac", stream};
}

Command ffmpegDecoding(const std::string& stream) {
  return {"ffmpeg", "-nostdin", "-v",   "error", "-threads", "1",  "-c:a",
          "aac",    "-i",       stream, "-f",    "s16le",    "-y", "/dev/null"};
}

Command faadDecoding(const std::string& stream) {
  return {"faad", "-q", "-f", "2", "-o", "/dev/null", stream};
}

// The first bytes of a stream, some frames.
std::string writeBeginning(const TempFolder& folder, const std::string& stream) {
  auto bytes = readFile(stream);
  bytes.resize(std::min<std::size_t>(bytes.size(), 4096));
  const std::string beginning = folder.file("beginning.aac");
  writeFile(beginning, bytes);
  return beginning;
}

// Decoding with another program over decoding with ours.
template <class Other>
bool compare(const TempFolder& folder, const std::string& name, const std::string& stream, Other other,
             double target) {
  const UserTimes times = measureUserTimes(stream, writeBeginning(folder, stream), oursDecoding, other);
  return reportUserTimes(name + ": " + other(stream)[0] + "'s user time over ours", times, target);
}

// Ten minutes repeated from a four-second sample stream, with frames of 2048 samples at 48 kHz.
void writeRepeated(const std::string& sampleName, const std::string& stream) {
  const auto sample = readFile(VL_TEST_DATA "/" + sampleName);
  std::vector<std::uint8_t> repeated;
  for (int i = 0; i < 145; ++i) repeated.insert(repeated.end(), sample.begin(), sample.end());
  writeFile(stream, repeated);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  bool met = true;
  for (const std::string rate : {"64", "128", "256"}) {
    const std::string stream = folder.file(rate + ".aac");
    runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                "aevalsrc=" + kLeft + "|" + kRight + ":s=48000:d=600", "-c:a", "aac", "-b:a", rate + "k",
                stream});
    met = compare(folder, "AAC-LC, " + rate + " kbit/s", stream, ffmpegDecoding, 2.4) && met;
  }
  struct Sample {
    const char* name;
    const char* file;
    double target;
  };
  for (const Sample& sample :
       {Sample{"HE-AAC", "he_v1_stereo_48k.aac", 2.4}, {"HE-AAC v2", "he_v2_48k.aac", 2.1}}) {
    const std::string stream = folder.file("he.aac");
    writeRepeated(sample.file, stream);
    met = compare(folder, sample.name, stream, ffmpegDecoding, sample.target) && met;
    met = compare(folder, sample.name, stream, faadDecoding, 2) && met;
  }
  return met ? 0 : 1;
}
