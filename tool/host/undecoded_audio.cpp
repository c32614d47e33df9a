#include "tool/host/undecoded_audio.h"

#include <array>
#include <cstdio>
#include <optional>

#include "base/aac/audio_specific_config.h"
#include "base/bytes.h"
#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/audio_object_type.h"
#include "mp4box/box.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/tkhd.h"
#include "mp4box/top_level_reader.h"
#include "tool/host/movie_file.h"
#include "tool/source/source_file.h"

namespace fmp4 {

namespace {

constexpr std::uint8_t kMpeg2Audio = 0x69, kMpeg1Audio = 0x6B, kMpeg4Audio = 0x40;

// Unsupported audio object types of ISO/IEC 14496-3, table 1.17.
struct ObjectTypeName {
  int type;
  const char* name;
};
constexpr std::array kUndecodedTypes = {ObjectTypeName{6, "AAC scalable"},
                                        ObjectTypeName{7, "TwinVQ"},
                                        ObjectTypeName{8, "CELP"},
                                        ObjectTypeName{9, "HVXC"},
                                        ObjectTypeName{17, "error resilient AAC LC"},
                                        ObjectTypeName{19, "error resilient AAC LTP"},
                                        ObjectTypeName{20, "error resilient AAC scalable"},
                                        ObjectTypeName{21, "error resilient TwinVQ"},
                                        ObjectTypeName{22, "BSAC"},
                                        ObjectTypeName{23, "AAC LD"},
                                        ObjectTypeName{32, "MPEG layer 1"},
                                        ObjectTypeName{33, "MPEG layer 2"},
                                        ObjectTypeName{34, "MPEG layer 3"},
                                        ObjectTypeName{36, "ALS"},
                                        ObjectTypeName{37, "SLS"},
                                        ObjectTypeName{38, "SLS"},
                                        ObjectTypeName{39, "AAC ELD"},
                                        ObjectTypeName{42, "xHE-AAC"}};

// The layer in the header of the first MPEG-1 or MPEG-2 audio frame (ISO/IEC 11172-3, 2.4.2.3), 0 when it
// cannot be read.
unsigned firstLayer(const std::string& path, std::uint32_t trackId) {
  constexpr std::uint32_t kHeaderBytes = 4, kSync = 0xFFE00000u;
  try {
    SourceFile file(path);
    for (const SourceTrack& track : file.tracks()) {
      if (track.trackId != trackId || track.samples.empty()) continue;
      const auto frame = file.read(track, 0);
      if (frame.size() < kHeaderBytes) return 0;
      const std::uint32_t header = Mp4LoadU32(frame.data());
      const std::uint32_t layer = header >> 17 & 3;  // counts backwards, 0 is reserved
      return (header & kSync) == kSync && layer != 0 ? 4 - layer : 0;
    }
  } catch (const UserError&) {
    return 0;  // the layer is unknown in damaged files
  }
  return 0;
}

std::string otherCodec(const std::string& path, std::uint32_t trackId, std::uint8_t objectType) {
  std::string name = Mp4OtherAudioCodec(objectType);
  if (objectType == kMpeg1Audio || objectType == kMpeg2Audio) {
    const std::string standard = objectType == kMpeg1Audio ? "MPEG-1" : "MPEG-2";
    if (const unsigned layer = firstLayer(path, trackId)) name = standard + " layer " + std::to_string(layer);
  }
  char code[8];
  std::snprintf(code, sizeof code, "0x%02X", objectType);
  return name + ", object type " + code + ": not supported";
}

std::string whyUndecoded(const std::string& path, std::uint32_t trackId, Mp4Box* sampleEntry) {
  Mp4Box* box = Mp4BoxChild(sampleEntry, box_type::kEsds);
  if (!box) box = Mp4BoxGet(nullptr, sampleEntry, true, "wave/esds");  // QuickTime
  const auto* esds = Mp4PayloadOf<mp4::ESDBox>(box);
  if (!esds || !esds->decoderConfig) return {};
  const std::uint8_t objectType = esds->decoderConfig->objectTypeIndication;
  if (Mp4OtherAudioCodec(objectType)) return otherCodec(path, trackId, objectType);
  if (objectType != kMpeg4Audio) return {};
  const auto& bytes = esds->decoderConfig->decoderSpecificInfo;
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(bytes.data(), bytes.size(), config)) return {};
  for (const ObjectTypeName& row : kUndecodedTypes) {
    if (row.type == config.signalledType)
      return std::string(row.name) + ", audio object type " + std::to_string(row.type) + ": not supported";
  }
  return {};
}

}  // namespace

std::vector<std::string> undecodedAudio(const std::string& name) {
  const OpenedFiles files = openedFiles(name);
  const std::string& path = files.companion.empty() ? files.media : files.companion;
  std::vector<std::string> reasons;
  Mp4Stream stream;
  const VLHANDLE handle = stream.open(path.c_str(), MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) return reasons;
  const auto file = Mp4ReadRoot(stream, false);
  Mp4Box* const movie = file ? Mp4BoxChild(file->root(), box_type::kMoov) : nullptr;
  for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(movie, box_type::kTrak, i); ++i) {
    Mp4Box* const sampleEntry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
    if (!sampleEntry || (sampleEntry->type != kMp4a && sampleEntry->type != kAc3)) continue;
    const auto* header = Mp4PayloadOf<mp4::TrackHeaderBox>(Mp4BoxChild(trak, box_type::kTkhd));
    reasons.push_back(whyUndecoded(path, header ? header->trackId : i + 1, sampleEntry));
  }
  return reasons;
}

}  // namespace fmp4
