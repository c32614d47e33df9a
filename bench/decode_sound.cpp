// Decoding ten minutes of stereo AAC-LC, whole process, against the ffmpeg program on one thread.
#include <cstdio>

#include "measure.h"
#include "support/ffmpeg.h"
#include "support/temp_folder.h"

namespace {

// Tones that wander, bursts and noise: what encoders spend their tools on.
const std::string kTones = "0.25*sin(440*2*PI*t)+0.2*sin(1234*2*PI*t+sin(3*t))+0.1*sin(5000*2*PI*t)";
const std::string kLeft = kTones + "+0.08*(random(0)-0.5)";
const std::string kRight = kTones + "+exp(-40*mod(t\\,0.5))*(random(2)-0.5)+0.1*(random(1)-0.5)";

}  // namespace

int main() {
  const TempFolder folder;
  bool met = true;
  for (const char* rate : {"64k", "128k", "256k"}) {
    const std::string stream = folder.file(std::string(rate) + ".aac");
    runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                "aevalsrc=" + kLeft + "|" + kRight + ":s=48000:d=600", "-c:a", "aac", "-b:a", rate, stream});
    std::vector<Measured> ours, theirs;
    alternate(
        5, ours, theirs,
        [&] {
          return measureProgram({VL_BIN_DIR "/decode_aac", stream});
        },
        [&] {
          return measureProgram({"ffmpeg", "-nostdin", "-v", "error", "-threads", "1", "-c:a", "aac", "-i",
                                 stream, "-f", "s16le", "-y", "/dev/null"});
        });
    const double decode = medianOf(ours, &Measured::userSeconds),
                 ffmpeg = medianOf(theirs, &Measured::userSeconds);
    std::printf("%s: %.3f s, ffmpeg %.3f s (user, median of 5)\n", rate, decode, ffmpeg);
    met = report("ffmpeg's user time over ours", ffmpeg / decode, ">=", 1) && met;
  }
  return met ? 0 : 1;
}
