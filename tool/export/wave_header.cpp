#include "tool/export/wave_header.h"

#include <iterator>
#include <string_view>

namespace fmp4 {

namespace {

constexpr std::uint16_t kPcm = 1;
constexpr std::uint16_t kExtensible = 0xFFFE;
constexpr std::uint32_t kDs64Bytes = 28;
constexpr std::uint32_t kFormatBytes = 40;
constexpr std::uint32_t kBeyond = 0xFFFFFFFFu;  // the "ds64" chunk has the size

// Speakers by channel count: mono, stereo, L R C, L R C Cs, L R C Ls Rs, 5.1, 6.1, 7.1.
constexpr std::uint32_t kSpeakers[] = {0, 0x4, 0x3, 0x7, 0x107, 0x37, 0x3F, 0x13F, 0x63F};

class LittleEndian {
 public:
  void text(std::string_view characters) { bytes.insert(bytes.end(), characters.begin(), characters.end()); }
  void number(std::uint64_t value, unsigned count) {
    for (; count > 0; --count, value >>= 8) bytes.push_back(static_cast<std::uint8_t>(value));
  }
  std::vector<std::uint8_t> bytes;
};

}  // namespace

std::vector<std::uint8_t> waveHeader(const WaveFormat& format, std::uint64_t dataBytes) {
  // After the first eight bytes: the form type, three chunk headers and two chunks, and a data chunk padded
  // to an even size.
  const std::uint64_t riffBytes = 4 + 3 * 8 + kDs64Bytes + kFormatBytes + dataBytes + dataBytes % 2;
  const bool wide = riffBytes >= kBeyond;
  LittleEndian head;
  head.text(wide ? "RF64" : "RIFF");
  head.number(wide ? kBeyond : riffBytes, 4);
  head.text("WAVE");
  head.text(wide ? "ds64" : "JUNK");
  head.number(kDs64Bytes, 4);
  head.number(wide ? riffBytes : 0, 8);
  head.number(wide ? dataBytes : 0, 8);
  head.number(wide ? dataBytes / format.frameBytes() : 0, 8);
  head.number(0, 4);
  head.text("fmt ");
  head.number(kFormatBytes, 4);
  head.number(format.channels > 2 ? kExtensible : kPcm, 2);
  head.number(format.channels, 2);
  head.number(format.sampleRate, 4);
  head.number(std::uint64_t{format.sampleRate} * format.frameBytes(), 4);
  head.number(format.frameBytes(), 2);
  head.number(format.bitsPerSample, 2);
  head.number(22, 2);
  head.number(format.bitsPerSample, 2);
  head.number(format.channels < std::size(kSpeakers) ? kSpeakers[format.channels] : 0, 4);
  // KSDATAFORMAT_SUBTYPE_PCM.
  head.number(kPcm, 2);
  head.text({"\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14});
  head.text("data");
  head.number(wide ? kBeyond : dataBytes, 4);
  return head.bytes;
}

}  // namespace fmp4
