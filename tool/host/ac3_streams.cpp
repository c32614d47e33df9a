#include "tool/host/ac3_streams.h"

#include "base/bit_window.h"
#include "base/codec_code.h"
#include "mp4box/boxes/dac3.h"
#include "tool/host/track_units.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kSyncWord = 0x0B77;
constexpr std::uint32_t kLastVersion = 10;  // bsid; later ones are E-AC-3
constexpr std::size_t kNeededBytes = 8;     // up to dialnorm
constexpr std::uint32_t kMono = 1, kStereo = 2;

// By acmod (A/52, table 5.8).
constexpr const char* kModes[] = {"1+1", "1/0", "2/0", "3/0", "2/1", "3/1", "2/2", "3/2"};

// By bsmod (A/52, table 5.7).
std::string serviceName(std::uint32_t bsmod, std::uint32_t acmod) {
  constexpr const char* kServices[] = {"complete main",    "music and effects", "visually impaired",
                                       "hearing impaired", "dialogue",          "commentary",
                                       "emergency"};
  if (bsmod < std::size(kServices)) return kServices[bsmod];
  return acmod == kMono ? "voice over" : "karaoke";
}

Ac3Stream streamOfEntry(const mp4::AC3SpecificBox& box) {
  return {kModes[box.acmod & 7], box.lfeon != 0, serviceName(box.bsmod, box.acmod), std::nullopt};
}

std::optional<Ac3Stream> ac3StreamOfTrack(const std::string& path, std::size_t place, Mp4Box* entry) {
  TrackUnits units(path);
  if (units.chooseAt(place) && units.next())
    if (const auto bytes = units.bytes())
      if (auto stream = ac3StreamOfFrame(*bytes)) return stream;
  const auto* box = Mp4PayloadOf<mp4::AC3SpecificBox>(Mp4BoxGet(nullptr, entry, true, "dac3"));
  return box ? std::optional(streamOfEntry(*box)) : std::nullopt;
}

}  // namespace

std::optional<Ac3Stream> ac3StreamOfFrame(std::span<const std::uint8_t> frame) {
  BitWindow bits(frame.data(), frame.size());
  if (frame.size() < kNeededBytes || bits.Read(16) != kSyncWord) return std::nullopt;
  bits.Read(16 + 2 + 6);  // crc1, fscod, frmsizecod
  if (bits.Read(5) > kLastVersion) return std::nullopt;
  const std::uint32_t bsmod = bits.Read(3), acmod = bits.Read(3);
  if ((acmod & 1) != 0 && acmod != kMono) bits.Read(2);  // cmixlev
  if ((acmod & 4) != 0) bits.Read(2);                    // surmixlev
  if (acmod == kStereo) bits.Read(2);                    // dsurmod
  Ac3Stream stream{kModes[acmod], bits.ReadFlag(), serviceName(bsmod, acmod), std::nullopt};
  // 0 is reserved, and decoders take it for 31 (A/52, 5.4.2.8).
  const auto dialnorm = static_cast<int>(bits.Read(5));
  stream.dialnorm = dialnorm != 0 ? -dialnorm : -31;
  return stream;
}

std::vector<std::optional<Ac3Stream>> ac3Streams(const OpenedFiles& files) {
  std::vector<std::optional<Ac3Stream>> streams;
  for (const std::string& path : {files.media, files.companion}) {
    if (path.empty()) continue;
    MovieFile file(path);
    if (!file.isOpen()) continue;
    for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(file.movie(), box_type::kTrak, i); ++i) {
      Mp4Box* const entry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
      const bool isAc3 = entry && entry->type == kAc3;
      streams.push_back(isAc3 ? ac3StreamOfTrack(path, i, entry) : std::nullopt);
    }
  }
  return streams;
}

std::string ac3StreamText(const Ac3Stream& stream) {
  std::string text = stream.mode + (stream.lfe ? " with LFE, " : ", ") + stream.service;
  if (stream.dialnorm) text += ", dialogue at " + std::to_string(*stream.dialnorm) + " dB";
  return text;
}

}  // namespace fmp4
