#include "plugin/codec_data.h"

#include "base/audio_units.h"
#include "base/bytes.h"
#include "base/codec_code.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kBitmapHeader = 40;

// Whether the parameter sets are inside the record (ISO/IEC 14496-15, 5.3.3.1).
bool holdsItsParameterSets(const std::vector<std::uint8_t>& record) {
  constexpr std::size_t kFixed = 5;
  std::size_t place = kFixed;
  for (const std::uint8_t countMask : {std::uint8_t{0x1F}, std::uint8_t{0xFF}}) {
    if (place >= record.size()) return false;
    for (int count = record[place++] & countMask; count > 0; --count) {
      if (record.size() - place < 2) return false;
      const std::size_t length = Mp4LoadU16(record.data() + place);
      place += 2;
      if (record.size() - place < length) return false;
      place += length;
    }
  }
  return true;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> avcRecordOf(const QVRVIDEO& video) {
  const std::uint8_t* const box = video.colourTable;
  if (Mp4LoadU32(box + 4) != box_type::kAvcC) return std::vector<std::uint8_t>();
  const std::uint32_t size = Mp4LoadU32(box);
  // A bitmap header that specifies its total size limits the data after it.
  const std::uint32_t statedSize = video.bitmap.size;
  if (size < kBoxHeaderBytes || size > sizeof video.colourTable) return std::nullopt;
  if (statedSize > kBitmapHeader && size > statedSize - kBitmapHeader) return std::nullopt;
  std::vector<std::uint8_t> record(box + kBoxHeaderBytes, box + size);
  if (!holdsItsParameterSets(record)) return std::nullopt;
  return record;
}

std::optional<std::vector<std::uint8_t>> audioConfigOf(const QVRAUDIO& audio) {
  const QVRWAVE& wave = audio.wave;
  if (wave.extraSize > sizeof wave.extra) return std::nullopt;
  const std::uint8_t* const data = wave.extra;
  const bool adts = wave.extraSize >= 2 && data[0] == 0xFF && (data[1] & 0xF0) == 0xF0;
  if (!adts) {
    constexpr std::uint16_t kMaxCopied = 4;
    return std::vector<std::uint8_t>(data, data + (wave.extraSize <= kMaxCopied ? wave.extraSize : 0));
  }
  if (wave.extraSize < 3) return std::nullopt;
  // ISO/IEC 14496-3, 1.A.2.2.1 and 1.6.2.1: profile is the object type minus 1.
  const unsigned profile = data[2] >> 6;
  const unsigned samplingIndex = data[2] >> 2 & 0xFu;
  return std::vector<std::uint8_t>{
      static_cast<std::uint8_t>((profile + 1) << 3 | samplingIndex >> 1),
      static_cast<std::uint8_t>((samplingIndex & 1) << 7 | (wave.channels & 0xFu) << 3)};
}

std::uint32_t samplesPerFrameOf(const QVRAUDIO& audio) {
  return audio.codec == kAc3 ? kAc3FrameSamples : kAacFrameSamples;
}

}  // namespace fmp4
