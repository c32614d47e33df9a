// Decoding ten minutes of 5.1 AC-3 to stereo in a separate process, compared with the ffmpeg program on one
// thread and a52dec.
#include <algorithm>

#include "bench/compare_user_time.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// Drifting tones, bursts and noise, different in every channel.
const std::string kTones = "0.25*sin(440*2*PI*t)+0.2*sin(1234*2*PI*t+sin(3*t))+0.1*sin(5000*2*PI*t)";
const std::string kChannels = kTones + "+0.08*(random(0)-0.5)|" + kTones +
                              "+exp(-40*mod(t\\,0.5))*(random(2)-0.5)+0.1*(random(1)-0.5)|" +
                              "0.2*sin(659*2*PI*t)+0.1*(random(3)-0.5)|0.2*sin(80*2*PI*t)|" +
                              "0.2*sin(880*2*PI*t)+0.05*(random(4)-0.5)|" +
                              "0.2*sin(1100*2*PI*t)+0.05*(random(5)-0.5)";

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  const std::string stream = folder.file("surround.ac3");
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
              "aevalsrc=" + kChannels + ":s=48000:d=600:c=5.1", "-c:a", "ac3", "-b:a", "448k", stream});
  auto bytes = readFile(stream);
  bytes.resize(std::min<std::size_t>(bytes.size(), 8 * 1792));  // frames of 1792 bytes
  const std::string beginning = folder.file("beginning.ac3");
  writeFile(beginning, bytes);

  const auto ours = [](const std::string& file) { return Command{VL_BIN_DIR "/decode_ac3", file}; };
  const auto ffmpeg = [](const std::string& file) {
    return Command{"ffmpeg", "-nostdin", "-v", "error", "-threads", "1",  "-i",
                   file,     "-ac",      "2",  "-f",    "s16le",    "-y", "/dev/null"};
  };
  const auto a52dec = [](const std::string& file) { return Command{"a52dec", "-o", "wav", file}; };
  const std::string name = "AC-3 5.1 to stereo, 448 kbit/s: ";
  bool met = reportUserTimes(name + "ffmpeg's user time over ours",
                             measureUserTimes(stream, beginning, ours, ffmpeg), 2.2);
  met = reportUserTimes(name + "a52dec's user time over ours",
                        measureUserTimes(stream, beginning, ours, a52dec), 1.5) &&
        met;
  return met ? 0 : 1;
}
