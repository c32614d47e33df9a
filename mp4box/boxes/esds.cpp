#include "mp4box/boxes/esds.h"

#include <algorithm>

namespace fmp4::mp4 {
namespace {

constexpr std::uint8_t kEsDescriptorTag = 0x03;
constexpr std::uint8_t kDecoderConfigTag = 0x04;
constexpr std::uint8_t kDecoderSpecificInfoTag = 0x05;

constexpr std::uint8_t kStreamDependence = 0x80;
constexpr std::uint8_t kUrl = 0x40;
constexpr std::uint8_t kOcrStream = 0x20;

// The content of one descriptor, whose end follows from its length.
class DescriptorContent {
 public:
  DescriptorContent(Mp4Fields& f, std::uint32_t length)
      : f_(f), after_(f.remaining() - std::min<std::uint64_t>(length, f.remaining())) {}

  // The remaining bytes of the descriptor.
  void rest(std::vector<std::uint8_t>& bytes) {
    const std::uint64_t left = f_.remaining();
    f_.blob("extension", bytes, f_.reading() ? left - std::min(left, after_) : bytes.size());
  }

 private:
  Mp4Fields& f_;
  std::uint64_t after_;  // bytes after the end of the descriptor
};

void tag(Mp4Fields& f, std::uint8_t value) {
  f.hex("tag", value, 1);
}

}  // namespace

void ESDBox::fields(Mp4Fields& f) {
  fullBox(f);
  if (f.reading()) {
    extension.clear();
    if (f.peek(0) != kEsDescriptorTag) return;
  } else {
    // Each length includes the lengths inside it, so the innermost comes first.
    std::uint64_t content = 3 + (dependsOnEsId ? 2 : 0) + (url ? 1 + url->size() : 0) + (ocrEsId ? 2 : 0);
    if (decoderConfig) {
      DecoderConfigDescriptor& config = *decoderConfig;
      std::uint64_t configContent = 13 + config.extension.size();
      if (config.hasDecoderSpecificInfo) {
        decoderSpecificInfoLength.value = static_cast<std::uint32_t>(config.decoderSpecificInfo.size());
        configContent += 1 + decoderSpecificInfoLength.bytes() + config.decoderSpecificInfo.size();
      }
      decoderConfigLength.value = static_cast<std::uint32_t>(configContent);
      content += 1 + decoderConfigLength.bytes() + configContent;
    }
    esLength.value = static_cast<std::uint32_t>(content + extension.size());
  }

  tag(f, kEsDescriptorTag);
  esLength.fields(f);
  DescriptorContent es(f, esLength.value);
  f.u16("ES_ID", esId);
  f.hex("flags", esFlags, 1);
  if (f.reading()) {
    if (esFlags & kStreamDependence) dependsOnEsId.emplace();
    if (esFlags & kUrl) url.emplace();
    if (esFlags & kOcrStream) ocrEsId.emplace();
  }
  if (dependsOnEsId) f.u16("dependsOn_ES_ID", *dependsOnEsId);
  if (url) {
    auto length = static_cast<std::uint8_t>(url->size());
    f.u8("URLlength", length);
    f.characters("URLstring", *url, length);
  }
  if (ocrEsId) f.u16("OCR_ES_Id", *ocrEsId);

  if (f.reading() && f.peek(0) == kDecoderConfigTag) decoderConfig.emplace();
  if (decoderConfig) {
    DecoderConfigDescriptor& config = *decoderConfig;
    tag(f, kDecoderConfigTag);
    decoderConfigLength.fields(f);
    DescriptorContent content(f, decoderConfigLength.value);
    f.hex("objectTypeIndication", config.objectTypeIndication, 1);
    f.hex("streamType", config.streamType, 1);
    f.u24("bufferSizeDB", config.bufferSizeDB);
    f.u32("maxBitrate", config.maxBitrate);
    f.u32("avgBitrate", config.avgBitrate);
    if (f.reading()) config.hasDecoderSpecificInfo = f.peek(0) == kDecoderSpecificInfoTag;
    if (config.hasDecoderSpecificInfo) {
      tag(f, kDecoderSpecificInfoTag);
      decoderSpecificInfoLength.fields(f);
      f.blob("decoderSpecificInfo", config.decoderSpecificInfo, decoderSpecificInfoLength.value);
    }
    content.rest(config.extension);
  }
  es.rest(extension);
}

}  // namespace fmp4::mp4
