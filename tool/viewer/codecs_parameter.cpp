#include "tool/viewer/codecs_parameter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>

#include "base/codec_code.h"
#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/hdlr.h"
#include "streaming/lists/codec_text.h"
#include "tool/host/movie_file.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

constexpr std::size_t kHvcBytes = 13;  // of the configuration record, up to the level

std::string formatted(const char* format, std::uint32_t value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

// ISO/IEC 14496-15, E.3. `record`: the start of an HEVCDecoderConfigurationRecord.
std::string hevcCodecText(const std::string& type, std::span<const std::uint8_t, kHvcBytes> record) {
  const unsigned space = record[1] >> 6;
  std::string text = type + ".";
  if (space != 0) text += static_cast<char>('A' + space - 1);
  std::uint32_t flags = 0;  // in reverse bit order
  for (unsigned bit = 0; bit < 32; ++bit)
    flags |= static_cast<std::uint32_t>(record[2 + bit / 8] >> (7 - bit % 8) & 1) << bit;
  text += std::to_string(record[1] & 31) + formatted(".%X", flags);
  text += (record[1] & 32 ? ".H" : ".L") + std::to_string(record[12]);
  std::size_t last = 12;  // after the last constraint byte that is not 0
  while (last > 6 && record[last - 1] == 0) --last;
  for (std::size_t i = 6; i < last; ++i) text += formatted(".%X", record[i]);
  return text;
}

std::string hevcText(Mp4Stream& stream, Mp4Box* entry, const std::string& type) {
  const Mp4Box* const box = Mp4BoxChild(entry, box_type::kHvcC);
  std::array<std::uint8_t, kHvcBytes> record{};
  const bool read = box && box->size >= kBoxHeaderBytes + record.size() &&
                    stream.seek(box->position + kBoxHeaderBytes) &&
                    stream.read(record.data(), record.size()) == static_cast<std::int64_t>(record.size());
  return read ? hevcCodecText(type, record) : type;
}

// What a sample entry is called; other types have the name that is registered for them.
std::string codecText(Mp4Stream& stream, Mp4Box* entry, const SourceTrack& track) {
  const std::string type = fourCcText(track.codec);
  if (track.codec == kHvc1 || track.codec == kHev1) return hevcText(stream, entry, type);
  const std::span<const std::uint8_t> record = track.configuration;
  if (track.codec == kAvc1) return avcCodecText(record.subspan(std::min<std::size_t>(record.size(), 1)));
  if (track.codec == kMp4a) {
    const std::string text = aacCodecText(record);
    return text.empty() ? type : text;
  }
  return type == "Opus" ? "opus" : type == "fLaC" ? "flac" : type;
}

void addCodecsOf(const std::string& path, std::vector<std::string>& codecs) {
  MovieFile file(path);
  if (!file.isOpen() || !file.movie()) return;
  std::uint32_t place = 0;
  for (const SourceTrack& track : readMovie(file.movie(), file.root()->size)) {
    Mp4Box* const trak = Mp4BoxChild(file.movie(), box_type::kTrak, place++);
    Mp4Box* const entry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
    const bool played = track.handler == mp4::kVideoHandler || track.handler == mp4::kAudioHandler;
    if (played && entry) codecs.push_back(codecText(file.stream(), entry, track));
  }
}

}  // namespace

std::vector<std::string> codecsOf(const std::string& name) {
  std::vector<std::string> codecs;
  const OpenedFiles files = openedFiles(name);
  try {
    for (const std::string& path : {files.media, files.companion})
      if (!path.empty()) addCodecsOf(path, codecs);
  } catch (const UserError&) {
    return {};  // damaged
  }
  return codecs;
}

}  // namespace fmp4
