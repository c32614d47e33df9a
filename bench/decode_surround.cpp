// Decoding ten minutes of 5.1 AC-3 to stereo in a separate process, compared with the ffmpeg program on one
// thread and a52dec.
#include <cstdio>

#include "bench/measure.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace {

// Drifting tones, bursts and noise, different in every channel.
const std::string kTones = "0.25*sin(440*2*PI*t)+0.2*sin(1234*2*PI*t+sin(3*t))+0.1*sin(5000*2*PI*t)";
const std::string kChannels = kTones + "+0.08*(random(0)-0.5)|" + kTones +
                              "+exp(-40*mod(t\\,0.5))*(random(2)-0.5)+0.1*(random(1)-0.5)|" +
                              "0.2*sin(659*2*PI*t)+0.1*(random(3)-0.5)|0.2*sin(80*2*PI*t)|" +
                              "0.2*sin(880*2*PI*t)+0.05*(random(4)-0.5)|" +
                              "0.2*sin(1100*2*PI*t)+0.05*(random(5)-0.5)";

}  // namespace

int main() {
  const TempFolder folder;
  const std::string stream = folder.file("surround.ac3");
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
              "aevalsrc=" + kChannels + ":s=48000:d=600:c=5.1", "-c:a", "ac3", "-b:a", "448k", stream});
  const auto decode = [&] { return measureProgram({VL_BIN_DIR "/decode_ac3", stream}); };
  std::vector<Measured> ours, ffmpeg, oursAgain, a52dec;
  alternate(5, ours, ffmpeg, decode, [&] {
    return measureProgram({"ffmpeg", "-nostdin", "-v", "error", "-threads", "1", "-i", stream, "-ac", "2",
                           "-f", "s16le", "-y", "/dev/null"});
  });
  alternate(5, oursAgain, a52dec, decode, [&] { return measureProgram({"a52dec", "-o", "wav", stream}); });
  const auto user = [](const std::vector<Measured>& measured) {
    return medianOf(measured, &Measured::userSeconds);
  };
  std::printf(
      "5.1 to stereo, ten minutes: %.3f s, ffmpeg %.3f s; %.3f s, a52dec %.3f s (user, medians of 5)\n",
      user(ours), user(ffmpeg), user(oursAgain), user(a52dec));
  bool met = report("AC-3, 448 kbit/s: ffmpeg's user time over ours", user(ffmpeg) / user(ours), ">=", 1);
  met = report("AC-3, 448 kbit/s: a52dec's user time over ours", user(a52dec) / user(oursAgain), ">=", 1.5) &&
        met;
  return met ? 0 : 1;
}
