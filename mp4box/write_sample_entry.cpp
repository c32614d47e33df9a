// Writes "stsd" with the sample entries "avc1", "mp4a", "c608" and "c708".
#include "base/codec_code.h"
#include "mp4box/boxes/stsd.h"
#include "mp4box/write.h"

namespace fmp4 {

namespace {

void writeAvcConfiguration(Mp4Output& out, mp4::AVCConfigurationBox& avcC) {
  if (!avcC.record.empty()) {
    Mp4WriteBox(out, Mp4FourCc("avcC"), avcC);
    return;
  }
  mp4::AVCConfigurationBox placeholder = mp4::AVCConfigurationBox::placeholder();
  Mp4WriteBox(out, Mp4FourCc("avcC"), placeholder);
}

void writeSampleEntry(Mp4Output& out, mp4::VideoMedia& media) {
  Mp4WriteBox(out, kAvc1, media.avc1, [&] { writeAvcConfiguration(out, media.avcC); });
}
void writeSampleEntry(Mp4Output& out, mp4::AudioMedia& media) {
  Mp4WriteBox(out, kMp4a, media.mp4a, [&] {
    if (media.esds.decoderConfig) Mp4WriteBox(out, Mp4FourCc("esds"), media.esds);
  });
}
void writeSampleEntry(Mp4Output& out, mp4::CaptionMedia& media) {
  Mp4WriteBox(out, media.type, media.entry);
}

}  // namespace

void Mp4WriteSampleDescription(Mp4Output& out, mp4::Track& track) {
  mp4::SampleDescriptionBox stsd;
  stsd.entryCount = 1;
  Mp4WriteBox(out, Mp4FourCc("stsd"), stsd,
              [&] { std::visit([&](auto& media) { writeSampleEntry(out, media); }, track.media); });
}

}  // namespace fmp4
