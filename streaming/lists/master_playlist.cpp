#include "streaming/lists/master_playlist.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

#include "streaming/lists/codec_text.h"
#include "streaming/lists/uri.h"

namespace fmp4 {

namespace {

struct BitRate {
  double peak = 0;     // bits per second, highest of any segment
  double average = 0;  // bits per second, average over all segments
};

// Parses the "#EXTINF:SECONDS," and "#EXT-X-BYTERANGE:LENGTH@OFFSET" lines of the segments.
BitRate bitRateOf(const std::string& playlist) {
  std::istringstream file(playlist);
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

}  // namespace

std::string codecsText(std::span<const std::uint8_t> avcRecord, std::span<const std::uint8_t> audioConfig) {
  const std::string video = avcCodecText(avcRecord.subspan(std::min<std::size_t>(1, avcRecord.size())));
  const std::string audio = aacCodecText(audioConfig);
  return audio.empty() ? video : video + "," + audio;
}

std::string masterPlaylistText(const MasterPlaylist& master) {
  BitRate rate = bitRateOf(master.video.text);
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-INDEPENDENT-SEGMENTS\n";
  if (master.audio) {
    const BitRate audio = bitRateOf(master.audio->text);
    rate.peak += audio.peak;
    rate.average += audio.average;
    text << "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"audio\",NAME=\"Audio\",DEFAULT=YES,AUTOSELECT=YES,URI=\""
         << uriOfName(master.audio->name) << "\"\n";
  }
  text << "#EXT-X-STREAM-INF:BANDWIDTH=" << std::llround(std::ceil(rate.peak))
       << ",AVERAGE-BANDWIDTH=" << std::llround(std::ceil(rate.average)) << ",CODECS=\"" << master.codecs
       << "\",RESOLUTION=" << master.width << 'x' << master.height << ",FRAME-RATE=" << std::fixed
       << std::setprecision(3) << master.framesPerSecond;
  if (master.audio) text << ",AUDIO=\"audio\"";
  text << '\n' << uriOfName(master.video.name) << '\n';
  return text.str();
}

}  // namespace fmp4
