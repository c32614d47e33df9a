// Writing "stsd" with the sample entries: "avc1", "mp4a", "c608" and "c708".
#include "boxes/stsd.h"
#include "write.h"

namespace {

void writeAvcConfiguration(Mp4Output& out, mp4::AVCConfigurationBox& avcC) {
  if (!avcC.record.empty()) {
    Mp4WriteBox(out, Mp4FourCc("avcC"), avcC);
    return;
  }
  // The stand-in when the stream gave no record: version, profile, compatibility and level all 1, four-byte
  // NAL unit lengths, no sequence parameter sets; the count of picture parameter sets is left out: intended.
  mp4::AVCConfigurationBox standIn;
  standIn.record = {1, 1, 1, 1, 0xFC | 0x03, 0xE0 | 0x00};
  Mp4WriteBox(out, Mp4FourCc("avcC"), standIn);
}

void writeSampleEntry(Mp4Output& out, mp4::VideoMedia& media) {
  Mp4WriteBox(out, Mp4FourCc("avc1"), media.avc1, [&] { writeAvcConfiguration(out, media.avcC); });
}
void writeSampleEntry(Mp4Output& out, mp4::AudioMedia& media) {
  Mp4WriteBox(out, Mp4FourCc("mp4a"), media.mp4a, [&] {
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
