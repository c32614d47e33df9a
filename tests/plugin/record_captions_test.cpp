// Recording captions with the frames, and reading them back.
#include <gtest/gtest.h>

#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trun.h"
#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

// A caption distribution packet of `length` bytes.
Bytes packetOf(std::uint32_t frame, std::uint8_t length = 20) {
  Bytes packet = frameBytes(frame, length);
  packet[0] = 0x96;
  packet[1] = 0x69;
  packet[2] = length;
  return packet;
}

struct Captions {
  bool pair = false;
  Bytes packet;
};

void writeFrame(CAMediaFile& file, std::uint32_t frame, const Captions& captions) {
  const Bytes bytes = frameBytes(frame);
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  descriptor.data = const_cast<std::uint8_t*>(bytes.data());
  descriptor.bytes = static_cast<std::uint32_t>(bytes.size());
  if (captions.pair) {
    descriptor.captionFlags |= DFRAME_CAPTION_608;
    descriptor.captions[0] = static_cast<std::uint8_t>(frame);
    descriptor.captions[1] = static_cast<std::uint8_t>(0x80 + frame);
    descriptor.captionBytes = 2;
  }
  if (!captions.packet.empty()) {
    descriptor.captionFlags |= DFRAME_CAPTION_708;
    descriptor.captions[4] = 0x61;
    descriptor.captions[5] = 0x01;
    descriptor.captions[6] = captions.packet[2];
    std::copy(captions.packet.begin(), captions.packet.end(), descriptor.captions + 7);
    descriptor.captionBytes = static_cast<std::uint32_t>(7 + captions.packet.size());
  }
  ASSERT_EQ(file.Write(frame, 1, 1, QVR_MODE_VIDEO, &descriptor, nullptr), VL_OK);
}

// Every third frame has no pair, every fourth no packet.
Captions captionsOf(std::uint32_t frame) {
  return {frame % 3 != 2,
          frame % 4 != 3 ? packetOf(frame, static_cast<std::uint8_t>(10 + frame % 50)) : Bytes()};
}

TEST(RecordCaptions, ReadBackWithTheirFrames) {
  for (const std::uint32_t count : {1u, 29u, 30u, 31u, 65u, 320u}) {
    const TempFolder folder;
    RecordingDescription d;
    d.captions = QVR_CAPTIONS_608 | QVR_CAPTIONS_708;
    MediaFile file = startRecording(folder.file("out.mp4"), d);
    for (std::uint32_t i = 0; i < count; ++i) writeFrame(*file, i, captionsOf(i));
    EXPECT_EQ(closeFile(file), VL_OK);
    const MediaFile read = openFile(folder.file("out.mpd"));
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->GetTotalFrames(), count);
    for (std::uint32_t i = 0; i < count; ++i) {
      const DFRAME frame = readFrame(*read, i).descriptor;
      const Captions expected = captionsOf(i);
      EXPECT_TRUE(frame.captionFlags & DFRAME_CAPTION_608) << "every frame has an entry for a pair";
      EXPECT_EQ(frame.captions[0], expected.pair ? static_cast<std::uint8_t>(i) : 0x80) << i;
      EXPECT_EQ(frame.captions[1], expected.pair ? static_cast<std::uint8_t>(0x80 + i) : 0x80) << i;
      EXPECT_EQ((frame.captionFlags & DFRAME_CAPTION_708) != 0, !expected.packet.empty()) << i;
      if (expected.packet.empty()) continue;
      EXPECT_EQ(frame.captionBytes, 7 + expected.packet.size());
      EXPECT_EQ(Bytes(frame.captions + 7, frame.captions + frame.captionBytes), expected.packet) << i;
    }
  }
}

TEST(RecordCaptions, TracksComeAfterTheVideoWithTheStatedFields) {
  const TempFolder folder;
  RecordingDescription d;
  d.captions = QVR_CAPTIONS_608 | QVR_CAPTIONS_708;
  MediaFile file = startRecording(folder.file("out.mp4"), d, 2);
  writeFrame(*file, 0, {true, packetOf(0, 12)});
  writeFrame(*file, 1, {});
  writeFrame(*file, 2, {true, {}});
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_NE(boxes.at("moov/trak[1]/mdia/minf/stbl/stsd/c608"), nullptr);
  EXPECT_NE(boxes.at("moov/trak[2]/mdia/minf/stbl/stsd/c708"), nullptr);
  const auto* pairs = boxes.get<mp4::TrackFragmentHeaderBox>("moof/traf[1]/tfhd");
  EXPECT_EQ(pairs->trackId, 3u);
  EXPECT_EQ(pairs->flags, 0x020018u);
  EXPECT_EQ(pairs->defaultSampleDuration, 2002u);
  EXPECT_EQ(pairs->defaultSampleSize, 12u);
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf[1]/trun")->sampleCount, 1u);
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf[1]/trun")->flags, 0x000001u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentHeaderBox>("moof[1]/traf[1]/tfhd")->defaultSampleDuration, 1001u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentHeaderBox>("moof[1]/traf[1]/tfhd")->defaultSampleSize, 10u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentHeaderBox>("moof/traf[2]/tfhd")->trackId, 4u);
  const auto* packets = boxes.get<mp4::TrackRunBox>("moof/traf[2]/trun");
  EXPECT_EQ(packets->flags, 0x000201u);
  ASSERT_EQ(packets->sampleCount, 2u);
  EXPECT_EQ(packets->size(0), 20u);
  EXPECT_EQ(packets->size(1), 8u);

  const Bytes content = readFile(folder.file("out.m4v"));
  const auto start = content.begin() + static_cast<std::ptrdiff_t>(boxes.at("mdat")->position + 8 + 200);
  EXPECT_EQ(Bytes(start, start + 12 + 20 + 8), join({box("cdat", {Bytes{0x00, 0x80, 0x80, 0x80}}),
                                                     box("ccdp", {packetOf(0, 12)}), box("ccdp")}));
}

TEST(RecordCaptions, AreOmittedIfTheDescriptionHasNone) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrame(*file, 0, {true, packetOf(0)});
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.at("moov/trak[1]"), nullptr);
  EXPECT_EQ(boxes.at("moof/traf[1]"), nullptr);
  EXPECT_EQ(boxes.at("mdat")->size, 108u);
}

TEST(RecordCaptions, APacketOfTheWrongSizeIsOmitted) {
  const TempFolder folder;
  RecordingDescription d;
  d.captions = QVR_CAPTIONS_708;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  descriptor.captionFlags = DFRAME_CAPTION_708;
  for (const std::uint32_t bytes : {0u, 7u, 8497u, 0xFFFFFFFFu}) {
    descriptor.captionBytes = bytes;
    ASSERT_EQ(file->Write(0, 1, 1, QVR_MODE_VIDEO, &descriptor, nullptr), VL_OK);
  }
  descriptor.captions[4] = 0x61;
  descriptor.captions[5] = 0x01;
  descriptor.captions[6] = 20;  // the packet states another size
  std::copy_n(packetOf(0, 30).begin(), 30, descriptor.captions + 7);
  descriptor.captionBytes = 37;
  ASSERT_EQ(file->Write(0, 1, 1, QVR_MODE_VIDEO, &descriptor, nullptr), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  const auto* packets = boxes.get<mp4::TrackRunBox>("moof/traf[1]/trun");
  ASSERT_EQ(packets->sampleCount, 5u);
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(packets->size(i), 8u) << i;
}

}  // namespace

}  // namespace fmp4
