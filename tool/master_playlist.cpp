#include "master_playlist.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <locale>
#include <sstream>

#include "commands.h"
#include "vlpath.h"

namespace {

struct BitRate {
  double peak = 0;     // bits a second, of the fastest segment
  double average = 0;  // bits a second, of all
};

// The segments' "#EXTINF:SECONDS," and "#EXT-X-BYTERANGE:LENGTH@OFFSET" lines.
BitRate bitRateOf(const std::string& path) {
  std::ifstream file(vlPath(path));
  if (!file) throw ToolError("'" + path + "' cannot be read");
  BitRate rate;
  double seconds = 0, allSeconds = 0, allBits = 0;
  for (std::string line; std::getline(file, line);) {
    const std::size_t colon = line.find(':') + 1;
    std::istringstream value(line.substr(colon));
    value.imbue(std::locale::classic());
    if (line.starts_with("#EXTINF:")) {
      value >> seconds;
    } else if (line.starts_with("#EXT-X-BYTERANGE:")) {
      double bytes = 0;
      value >> bytes;
      if (seconds > 0) rate.peak = std::max(rate.peak, bytes * 8 / seconds);
      allSeconds += seconds;
      allBits += bytes * 8;
    }
  }
  if (allSeconds > 0) rate.average = allBits / allSeconds;
  return rate;
}

std::string nameOf(const std::string& path) {
  return vlName(vlPath(path).filename());
}

}  // namespace

void writeMasterPlaylist(const std::string& path, const MasterPlaylist& master) {
  BitRate rate = bitRateOf(master.video);
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-INDEPENDENT-SEGMENTS\n";
  if (!master.audio.empty()) {
    const BitRate audio = bitRateOf(master.audio);
    rate.peak += audio.peak;
    rate.average += audio.average;
    text << "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"audio\",NAME=\"Audio\",DEFAULT=YES,AUTOSELECT=YES,URI=\""
         << nameOf(master.audio) << "\"\n";
  }
  text << "#EXT-X-STREAM-INF:BANDWIDTH=" << std::llround(std::ceil(rate.peak))
       << ",AVERAGE-BANDWIDTH=" << std::llround(std::ceil(rate.average)) << ",CODECS=\"" << master.codecs
       << "\",RESOLUTION=" << master.width << 'x' << master.height << ",FRAME-RATE=" << std::fixed
       << std::setprecision(3) << master.framesPerSecond;
  if (!master.audio.empty()) text << ",AUDIO=\"audio\"";
  text << '\n' << nameOf(master.video) << '\n';
  std::ofstream file(vlPath(path), std::ios::binary);
  if (!(file << text.str()) || !file.flush())
    throw ToolError("'" + path + "' could not be written; is the disk full?");
}
