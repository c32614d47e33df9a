// CEA-708 with hostile bytes. The first byte chooses how deep they go: caption distribution packets of the
// length before each, NAL units of an access unit, constructs, or the blocks of one service.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "captions/caption_cues.h"
#include "captions/cea708_service.h"
#include "captions/sei_captions.h"

namespace fmp4 {

using namespace captions;

namespace {

using Bytes = std::span<const std::uint8_t>;

void check(const Caption& caption) {
  for (const TextBlock& block : caption.blocks)
    if (!(block.top >= 0 && block.top <= 100 && block.across >= 0 && block.across <= 100)) std::abort();
}

void check(const Cea708Service& service) {
  check(service.caption());
  for (const PictureShape shape : {PictureShape::Wide, PictureShape::Standard})
    for (const CaptionRegion& region : service.screen(shape).regions) {
      const bool inside = region.top >= 0 && region.left >= 0 && region.top + region.height < 100.001 &&
                          region.left + region.width < 100.001;
      if (!inside || region.cells.size() != std::size_t{region.rows} * region.columns) std::abort();
    }
}

void decodePackets(Bytes bytes) {
  CaptionCues cues(30);
  std::int64_t frame = 0;
  for (; !bytes.empty(); ++frame) {
    const std::size_t size = std::min<std::size_t>(bytes[0], bytes.size() - 1);
    // A block of exactly this size, so that the sanitizer detects any read past its end.
    const std::vector<std::uint8_t> packet(bytes.begin() + 1,
                                           bytes.begin() + 1 + static_cast<std::ptrdiff_t>(size));
    cues.add(frame, {}, packet);
    bytes = bytes.subspan(1 + size);
  }
  for (const auto& [channel, list] : cues.finish(frame))
    for (const Cue& cue : list) check(cue.caption);
}

void decodeConstructs(Bytes bytes) {
  Cea708Decoder decoder(30);
  std::int64_t frame = 0;
  for (const CcConstruct& construct : parseConstructs(bytes)) {
    decoder.add(frame, construct);
    decoder.endFrame(frame++, [](unsigned, const Cea708Service& service) { check(service); });
  }
}

void decodeService(Bytes bytes) {
  Cea708Service service(30);
  for (std::int64_t frame = 0; !bytes.empty(); ++frame) {
    const std::size_t size = std::min<std::size_t>(bytes.size(), 31);
    service.push(frame, bytes.first(size));
    service.advance(frame);
    check(service);
    bytes = bytes.subspan(size);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::vector<std::uint8_t> bytes(data + 1, data + size);
  switch (data[0] & 3) {
    case 0:
      decodePackets(bytes);
      break;
    case 1:
      if (constructsInAccessUnit(bytes, 1 + (data[0] >> 2 & 3)).size() > size) std::abort();
      break;
    case 2:
      decodeConstructs(bytes);
      break;
    default:
      decodeService(bytes);
  }
  return 0;
}

}  // namespace fmp4
