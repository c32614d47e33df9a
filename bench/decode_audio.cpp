// Decoding ten minutes of stereo AAC-LC and HE-AAC in a separate process, compared with the ffmpeg program on
// one thread and, for HE-AAC, the faad program.
#include <cstdio>
#include <utility>

#include "bench/measure.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace {

// Drifting tones, bursts and noise, which exercise an encoder's tools.
const std::string kTones = "0.25*sin(440*2*PI*t)+0.2*sin(1234*2*PI*t+sin(3*t))+0.1*sin(5000*2*PI*t)";
const std::string kLeft = kTones + "+0.08*(random(0)-0.5)";
const std::string kRight = kTones + "+exp(-40*mod(t\\,0.5))*(random(2)-0.5)+0.1*(random(1)-0.5)";

using Command = std::vector<std::string>;

// Reports the median user time of decoding with another program over that with ours.
bool compare(const std::string& name, const std::string& stream, const Command& other, double target) {
  std::vector<Measured> ours, theirs;
  alternate(
      5, ours, theirs,
      [&] {
        return measureProgram({VL_BIN_DIR "/decode_aac", stream});
      },
      [&] { return measureProgram(other); });
  const double decode = medianOf(ours, &Measured::userSeconds),
               reference = medianOf(theirs, &Measured::userSeconds);
  std::printf("%s, ten minutes: %.3f s, %s %.3f s (user, median of 5)\n", name.c_str(), decode,
              other[0].c_str(), reference);
  const std::string what = name + ": " + other[0] + "'s user time over ours";
  return report(what.c_str(), reference / decode, ">=", target);
}

Command ffmpegDecoding(const std::string& stream) {
  return {"ffmpeg", "-nostdin", "-v",   "error", "-threads", "1",  "-c:a",
          "aac",    "-i",       stream, "-f",    "s16le",    "-y", "/dev/null"};
}

// Ten minutes repeated from a four-second sample stream, with frames of 2048 samples at 48 kHz.
void writeRepeated(const std::string& sampleName, const std::string& stream) {
  const auto sample = readFile(VL_TEST_DATA "/" + sampleName);
  std::vector<std::uint8_t> whole;
  for (int i = 0; i < 145; ++i) whole.insert(whole.end(), sample.begin(), sample.end());
  writeFile(stream, whole);
}

}  // namespace

int main() {
  const TempFolder folder;
  bool met = true;
  for (const std::string rate : {"64", "128", "256"}) {
    const std::string stream = folder.file(rate + ".aac");
    runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                "aevalsrc=" + kLeft + "|" + kRight + ":s=48000:d=600", "-c:a", "aac", "-b:a", rate + "k",
                stream});
    met = compare("AAC-LC, " + rate + " kbit/s", stream, ffmpegDecoding(stream), 1) && met;
  }
  for (const auto& [name, sample] : {std::pair<std::string, std::string>{"HE-AAC", "he_v1_stereo_48k.aac"},
                                     {"HE-AAC v2", "he_v2_48k.aac"}}) {
    const std::string stream = folder.file("he.aac");
    writeRepeated(sample, stream);
    met = compare(name, stream, ffmpegDecoding(stream), 1) && met;
    met = compare(name, stream, {"faad", "-q", "-f", "2", "-o", "/dev/null", stream}, 2) && met;
  }
  return met ? 0 : 1;
}
