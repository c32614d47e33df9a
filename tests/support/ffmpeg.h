// Media made by the installed ffmpeg, and what ffprobe and ffmpeg find in media: the reference for readings.
#pragma once

#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/run.h"

namespace fmp4 {

// Makes `output` with ffmpeg: inputs, then options, in `arguments`. One thread and no dates or versions in
// the output, so that a run is repeatable; generated media are made once and kept in build/media. Throws
// std::runtime_error with ffmpeg's message on failure.
void makeMedia(const std::filesystem::path& output, const std::vector<std::string>& arguments);
template <class... Arguments>
void makeMedia(const std::filesystem::path& output, const Arguments&... arguments) {
  makeMedia(output, std::vector<std::string>{std::string(arguments)...});
}

// Joins argument lists.
inline std::vector<std::string> operator+(std::vector<std::string> left,
                                          const std::vector<std::string>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Input: a moving test video with a counter, `seconds` long. `rate` as ffmpeg takes it ("30000/1001").
inline std::vector<std::string> videoInput(double seconds, const std::string& rate = "30000/1001",
                                           const std::string& size = "320x180") {
  return {"-f", "lavfi", "-i",
          "testsrc2=size=" + size + ":rate=" + rate + ":duration=" + std::to_string(seconds)};
}
// Input: a tone, `seconds` long.
inline std::vector<std::string> toneInput(double seconds, int sampleRate = 48000) {
  return {"-f", "lavfi", "-i",
          "sine=frequency=440:sample_rate=" + std::to_string(sampleRate) +
              ":duration=" + std::to_string(seconds)};
}
// Codec options: a closed group of pictures of `keyInterval` frames with `bFrames` B-frames.
inline std::vector<std::string> h264Codec(int keyInterval = 30, int bFrames = 2) {
  const std::string interval = std::to_string(keyInterval);
  return {
      "-c:v",   "libx264",     "-preset", "ultrafast",     "-pix_fmt", "yuv420p", "-g",
      interval, "-keyint_min", interval,  "-sc_threshold", "0",        "-bf",     std::to_string(bFrames)};
}
inline std::vector<std::string> hevcCodec(int keyInterval = 30, int bFrames = 2) {
  const std::string interval = std::to_string(keyInterval);
  return {"-c:v",
          "libx265",
          "-preset",
          "ultrafast",
          "-pix_fmt",
          "yuv420p",
          "-tag:v",
          "hvc1",
          "-x265-params",
          "log-level=error:pools=none:frame-threads=1:open-gop=0:scenecut=0:keyint=" + interval +
              ":min-keyint=" + interval + ":bframes=" + std::to_string(bFrames)};
}
// Container options: a fragment at every key frame after an empty movie box.
inline std::vector<std::string> fragmented(const std::string& moreFlags = "") {
  return {"-movflags", "+frag_keyframe+empty_moov+default_base_moof" + moreFlags};
}

// One packet as ffprobe demuxes it, in file order of its stream.
struct Packet {
  std::int64_t pts = 0;  // ticks of the stream's time base
  std::int64_t dts = 0;
  std::int64_t duration = 0;
  std::int64_t size = 0;     // bytes
  std::int64_t offset = -1;  // of the first byte in the file, -1 where unknown
  bool key = false;
  std::string crc32;  // IEEE CRC-32 of the bytes, 8 lower-case hexadecimal digits
};

// The packets of one stream ("v:0", "a:1"). `options` are passed to ffprobe before the file. Throws
// std::runtime_error when ffprobe fails.
inline std::vector<Packet> ffprobePackets(const std::filesystem::path& file, const std::string& stream,
                                          const std::vector<std::string>& options = {}) {
  const RunResult result = runOrThrow(
      std::vector<std::string>{"ffprobe", "-v", "error"} + options +
      std::vector<std::string>{"-select_streams", stream, "-show_packets", "-show_data_hash", "CRC32",
                               "-show_entries", "packet=pts,dts,duration,size,pos,flags,data_hash", "-of",
                               "compact=print_section=0", file.string()});
  std::vector<Packet> packets;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("size=") == std::string::npos) continue;  // side data of the previous packet
    Packet packet;
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, '|');) {
      const std::size_t equals = field.find('=');
      if (equals == std::string::npos) continue;
      const std::string name = field.substr(0, equals), value = field.substr(equals + 1);
      if (name == "flags")
        packet.key = value.find('K') != std::string::npos;
      else if (name == "data_hash")
        packet.crc32 = value.substr(value.find(':') + 1);
      else if (value == "N/A")
        continue;
      else if (name == "pts")
        packet.pts = std::stoll(value);
      else if (name == "dts")
        packet.dts = std::stoll(value);
      else if (name == "duration")
        packet.duration = std::stoll(value);
      else if (name == "size")
        packet.size = std::stoll(value);
      else if (name == "pos")
        packet.offset = std::stoll(value);
    }
    packets.push_back(packet);
  }
  return packets;
}

// One entry of a stream's description as ffprobe gives it ("codec_name", "width", "r_frame_rate", ...).
inline std::string ffprobeStreamEntry(const std::filesystem::path& file, const std::string& stream,
                                      const std::string& entry) {
  std::string text =
      runOrThrow({"ffprobe", "-v", "error", "-select_streams", stream, "-show_entries", "stream=" + entry,
                  "-of", "default=noprint_wrappers=1:nokey=1", file.string()})
          .out;
  return text.substr(0, text.find('\n'));
}

// Options that let ffmpeg read local HLS playlists of any file names, where it needs them.
inline std::vector<std::string> hlsOptions() {
  const std::string help = runOrThrow({"ffmpeg", "-v", "error", "-h", "demuxer=hls"}).out;
  std::vector<std::string> options = {"-allowed_extensions", "ALL"};
  if (help.find("extension_picky") != std::string::npos)
    options = options + std::vector<std::string>{"-extension_picky", "0"};
  return options;
}

// The MD5 of every decoded frame, in order of presentation.
inline std::vector<std::string> frameHashes(const std::filesystem::path& file) {
  const RunResult result =
      runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-threads", "1", "-i", file.string(), "-map", "0:v:0",
                  "-fps_mode", "passthrough", "-f", "framemd5", "-"});
  std::vector<std::string> hashes;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);)
    if (!line.empty() && line[0] != '#') hashes.push_back(line.substr(line.rfind(' ') + 1));
  return hashes;
}

}  // namespace fmp4
