// Captions of any bytes, written as SubRip, WebVTT and Scenarist: well-formed UTF-8, as many texts as there
// are captions, no text that ends its caption early.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/bit_window.h"
#include "captions/caption_cues.h"
#include "captions/cc_data.h"
#include "tool/export/scenarist.h"
#include "tool/export/subrip.h"
#include "tool/export/web_vtt.h"

namespace fmp4 {

namespace {

constexpr std::int64_t kMaxFrames = 600;

std::size_t countOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += part.size()) ++count;
  return count;
}

// Lead bytes are followed by as many continuation bytes as they say (RFC 3629).
bool isUtf8(std::string_view text) {
  std::size_t expected = 0;
  for (const char character : text) {
    const auto byte = static_cast<std::uint8_t>(character);
    const bool continues = (byte & 0xC0) == 0x80;
    if (continues != (expected > 0)) return false;
    if (continues) --expected;
    if (!continues && byte >= 0x80) expected = static_cast<std::size_t>(std::countl_one(byte)) - 1;
    if (expected > 3) return false;
  }
  return expected == 0;
}

std::uint8_t withParity(std::uint8_t byte) {
  return std::popcount(byte) % 2 == 1 ? byte : static_cast<std::uint8_t>(byte ^ 0x80);
}

void expectTexts(const std::vector<captions::Cue>& cues, const FrameRate& rate) {
  std::size_t blocks = 0;
  for (const captions::Cue& cue : cues) blocks += cue.caption.blocks.size();
  const std::string subRip = subRipText(cues, rate);
  if (!isUtf8(subRip) || countOf(subRip, "\n\n") != cues.size()) std::abort();
  const std::string webVtt = webVttText(cues, rate);
  if (!isUtf8(webVtt) || countOf(webVtt, "\n\n") != blocks + 1 || countOf(webVtt, "-->") != blocks)
    std::abort();
}

}  // namespace

// The frame rate and whether bytes get their parity; then, of each frame, a pair or constructs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr FrameRate kRates[] = {{24000, 1001}, {25, 1}, {30000, 1001}, {60000, 1001}};
  BitWindow bits(data, size);
  const FrameRate rate = kRates[bits.Read(2)];
  const bool hasParity = bits.ReadFlag();
  const double framesPerSecond = static_cast<double>(rate.numerator) / rate.denominator;
  const auto readByte = [&] {
    const auto byte = static_cast<std::uint8_t>(bits.Read(8));
    return hasParity ? withParity(byte) : byte;
  };
  captions::CaptionCues cues(framesPerSecond);
  std::vector<TimedPair> pairs;
  std::int64_t frame = 0;
  for (; frame < kMaxFrames && bits.Remaining() >= 16; ++frame) {
    const std::uint32_t count = bits.Read(3);
    if (count == 0) {
      const std::array<std::uint8_t, 2> pair = {readByte(), readByte()};
      pairs.push_back({static_cast<std::uint64_t>(frame), pair});
      cues.add(frame, pair, {});
      continue;
    }
    std::vector<captions::CcConstruct> constructs;
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto type = static_cast<captions::CcType>(bits.Read(2));
      const bool isPair = type == captions::CcType::Field1 || type == captions::CcType::Field2;
      const std::uint8_t first = isPair ? readByte() : static_cast<std::uint8_t>(bits.Read(8));
      constructs.push_back(
          {type, true, {first, isPair ? readByte() : static_cast<std::uint8_t>(bits.Read(8))}});
    }
    const auto packet =
        captions::distributionPacket(constructs, framesPerSecond, static_cast<std::uint16_t>(frame));
    cues.add(frame, {}, packet);
  }
  for (const auto& [channel, list] : cues.finish(frame)) expectTexts(list, rate);
  if (!isUtf8(scenaristText(pairs, rate))) std::abort();
  return 0;
}

}  // namespace fmp4
