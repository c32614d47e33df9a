// Recording video: fragments, segments, manifest and playlist.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trun.h"
#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::Not;

bool exists(const std::string& path) {
  return std::filesystem::exists(path);
}

struct GeometryCase {
  std::uint32_t interval;
  std::uint32_t frames;
  std::uint32_t fragments;
};

class Geometry : public testing::TestWithParam<GeometryCase> {};

TEST_P(Geometry, FollowsFromTheKeyFrameInterval) {
  const GeometryCase expected = GetParam();
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), {}, expected.interval);
  writeFrames(*file, expected.frames + 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.topLevel(), "ftyp moov sidx moof mdat moof mdat");
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf/trun")->sampleCount, expected.frames);
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof[1]/traf/trun")->sampleCount, 1u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->references.size(), expected.fragments);
  EXPECT_EQ(boxes.at("sidx")->size, 32 + 12 * expected.fragments) << "reserved and used size are equal";
}

INSTANTIATE_TEST_SUITE_P(
    Record, Geometry,
    testing::Values(GeometryCase{1, 30, 10}, GeometryCase{2, 2, 10}, GeometryCase{12, 12, 10},
                    GeometryCase{15, 15, 10}, GeometryCase{24, 24, 10}, GeometryCase{25, 25, 10},
                    GeometryCase{30, 30, 10}, GeometryCase{37, 1, 0}, GeometryCase{48, 24, 10},
                    GeometryCase{50, 25, 10}, GeometryCase{60, 30, 10}, GeometryCase{90, 30, 9},
                    GeometryCase{120, 30, 8}, GeometryCase{250, 25, 10}, GeometryCase{31, 1, 0},
                    GeometryCase{32, 16, 10}, GeometryCase{300, 30, 10}, GeometryCase{301, 7, 0},
                    GeometryCase{360, 30, 0}, GeometryCase{0, 30, 10}, GeometryCase{0xFFFFFFFF, 17, 0}),
    [](const auto& info) { return "Interval" + std::to_string(info.param.interval); });

TEST(Record, AFewFramesMakeOneFragmentOneSegmentAndCompletePlaylists) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrames(*file, 7);
  EXPECT_FALSE(exists(folder.file("out.mpd"))) << "nothing to list yet";
  EXPECT_EQ(closeFile(file), VL_OK);

  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.topLevel(), "ftyp moov sidx moof mdat");
  const auto* sidx = boxes.get<mp4::SegmentIndexBox>("sidx");
  ASSERT_EQ(sidx->references.size(), 10u);
  EXPECT_EQ(sidx->references[0].referencedSize, boxes.at("moof")->size + boxes.at("mdat")->size);
  EXPECT_EQ(sidx->references[0].subsegmentDuration, 7u * 1001);
  for (std::size_t i = 1; i < 10; ++i) {
    EXPECT_EQ(sidx->references[i].referencedSize, 0u);
    EXPECT_EQ(sidx->references[i].subsegmentDuration, 0u);
  }

  // ftyp 28, moov 673 with an avcC of 25 bytes; sidx 152; moof 168, mdat 708.
  EXPECT_EQ(boxes.at("moov")->end(), 701u);
  EXPECT_EQ(boxes.at("sidx")->end(), 853u);
  EXPECT_EQ(boxes.at("mdat")->end(), 1729u);
  EXPECT_EQ(
      withoutTime(textOf(folder.file("out.mpd"))),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" minBufferTime=\"PT1.500000S\" type=\"static\" "
      "profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\" "
      "mediaPresentationDuration=\"PT0H0M0.23S\" availabilityStartTime=\"NOW\" publishTime=\"NOW\">\n"
      "    <Period start=\"PT0H0M0.00S\" id=\"1\">\n"
      "        <AdaptationSet>\n"
      "            <Representation id=\"1\" mimeType=\"video/mp4\" codecs=\"avc1.64001e\" width=\"320\" "
      "height=\"180\" frameRate=\"30000/1001\" bandwidth=\"0\">\n"
      "                <BaseURL>out.m4v</BaseURL>\n"
      "                <SegmentList timescale=\"30000\" duration=\"300300\">\n"
      "                    <Initialization range=\"0-700\"/>\n"
      "                    <SegmentURL mediaRange=\"701-1728\" indexRange=\"701-853\"/>\n"
      "                </SegmentList>\n"
      "            </Representation>\n"
      "        </AdaptationSet>\n"
      "    </Period>\n"
      "</MPD>\n");
  EXPECT_EQ(withoutTime(textOf(folder.file("out.m3u8"))),
            "#EXTM3U\n"
            "#EXT-X-VERSION:7\n"
            "#EXT-X-TARGETDURATION:10\n"
            "#EXT-X-MEDIA-SEQUENCE:0\n"
            "#EXT-X-INDEPENDENT-SEGMENTS\n"
            "#EXT-X-MAP:URI=\"out.m4v\",BYTERANGE=\"701@0\"\n"
            "#EXT-X-PROGRAM-DATE-TIME:NOW\n"
            "#EXTINF:0.234,\n"
            "#EXT-X-BYTERANGE:1028@701\n"
            "out.m4v\n"
            "#EXT-X-ENDLIST\n");
}

TEST(Record, AFragmentHasTheStatedFields) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), {}, 2);
  const std::uint32_t flags[] = {DFRAME_KEY, DFRAME_NOT_KEY, DFRAME_KEY};
  for (std::uint32_t i = 0; i < 3; ++i)
    ASSERT_EQ(
        writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(i, 10 + i), i, flags[i], 2 + static_cast<int>(i)),
        VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.get<mp4::MovieFragmentHeaderBox>("moof/mfhd")->sequenceNumber, 1u);
  EXPECT_EQ(boxes.get<mp4::MovieFragmentHeaderBox>("moof[1]/mfhd")->sequenceNumber, 2u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentHeaderBox>("moof/traf/tfhd")->flags, 0x020000u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentHeaderBox>("moof/traf/tfhd")->trackId, 1u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof/traf/tfdt")->baseMediaDecodeTime, 0u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[1]/traf/tfdt")->baseMediaDecodeTime, 2002u);
  const auto* run = boxes.get<mp4::TrackRunBox>("moof/traf/trun");
  EXPECT_EQ(run->flags, 0x000E01u);
  EXPECT_EQ(run->version, 0u);
  EXPECT_EQ(run->dataOffset, static_cast<std::int32_t>(boxes.at("moof")->size + 8));
  EXPECT_EQ(run->size(0), 10u);
  EXPECT_EQ(run->size(1), 11u);
  EXPECT_EQ(run->sampleFlags(0), 0x02000000u) << "depends on no other sample";
  EXPECT_EQ(run->sampleFlags(1), 0x01010000u) << "depends on others, not a sync sample";
  EXPECT_EQ(run->compositionOffset(0), 2 * 1001);
  EXPECT_EQ(run->compositionOffset(1), 3 * 1001);
  const Bytes content = readFile(folder.file("out.m4v"));
  const std::uint64_t data = boxes.at("mdat")->position + 8;
  EXPECT_EQ(Bytes(content.begin() + static_cast<std::ptrdiff_t>(data),
                  content.begin() + static_cast<std::ptrdiff_t>(data) + 21),
            join({frameBytes(0, 10), frameBytes(1, 11)}));
}

TEST(Record, NegativeOffsetsTakeAVersion1RunAndReadBack) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), {}, 2);
  for (std::uint32_t i = 0; i < 4; ++i)
    ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(i), i, DFRAME_KEY, i == 1 ? -1 : 0), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf/trun")->version, 1u);
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf/trun")->compositionOffset(1), -1001);
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof[1]/traf/trun")->version, 0u);
  const MediaFile read = openFile(folder.file("out.m4v"));
  EXPECT_EQ(readFrame(*read, 1).descriptor.compositionOffset, -1);
}

TEST(Record, CompleteSegmentsAreListedAtOnceAndClosingAddsNothing) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrames(*file, 299);
  EXPECT_FALSE(exists(folder.file("out.mpd")));
  EXPECT_THAT(textOf(folder.file("out.m3u8")), Not(HasSubstr("#EXTINF")));
  writeFrames(*file, 1, 299);
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("mediaPresentationDuration=\"PT0H0M10.01S\""));
  EXPECT_THAT(textOf(folder.file("out.m3u8")), HasSubstr("#EXTINF:10.010,\n"));
  const auto size = std::filesystem::file_size(folder.file("out.m4v"));
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(std::filesystem::file_size(folder.file("out.m4v")), size);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.at("moof[10]"), nullptr);
  EXPECT_EQ(boxes.at("sidx[1]"), nullptr);
  EXPECT_THAT(textOf(folder.file("out.m3u8")), testing::EndsWith("out.m4v\n#EXT-X-ENDLIST\n"));
}

TEST(Record, SegmentsAreContiguousAndSoAreTheirIndexTimes) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), {}, 2);
  writeFrames(*file, 45);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  const auto* first = boxes.get<mp4::SegmentIndexBox>("sidx");
  EXPECT_EQ(first->version, 0u);
  EXPECT_EQ(first->referenceId, 1u);
  EXPECT_EQ(first->timescale, 30000u);
  EXPECT_EQ(first->firstOffset, 0u);
  EXPECT_EQ(first->earliestPresentationTime, 1001u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[1]")->earliestPresentationTime, 1001u + 20 * 1001);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[2]")->earliestPresentationTime, 1001u + 40 * 1001);
  std::uint64_t sum = 0;
  for (const auto& reference : first->references) {
    EXPECT_EQ(reference.subsegmentDuration, 2002u);
    EXPECT_EQ(reference.referenceType, 0u);
    EXPECT_EQ(reference.startsWithSap, 0u);
    EXPECT_EQ(reference.sapType, 0u);
    EXPECT_EQ(reference.sapDeltaTime, 0u);
    sum += reference.referencedSize;
  }
  EXPECT_EQ(boxes.at("sidx")->end() + sum, boxes.at("sidx[1]")->position);

  const auto length = [&](const std::string& a, std::uint64_t end) { return end - boxes.at(a)->position; };
  const std::uint64_t s1 = boxes.at("sidx[1]")->position, s2 = boxes.at("sidx[2]")->position;
  const std::uint64_t end = std::filesystem::file_size(folder.file("out.m4v"));
  const auto entry = [](const char* seconds, std::uint64_t bytes, std::uint64_t start) {
    return "#EXTINF:" + std::string(seconds) + ",\n#EXT-X-BYTERANGE:" + std::to_string(bytes) + "@" +
           std::to_string(start) + "\nout.m4v\n";
  };
  EXPECT_THAT(textOf(folder.file("out.m3u8")),
              HasSubstr(entry("0.667", length("sidx", s1), 701) + entry("0.667", length("sidx[1]", s2), s1) +
                        entry("0.167", length("sidx[2]", end), s2) + "#EXT-X-ENDLIST\n"));
  const auto url = [](std::uint64_t start, std::uint64_t stop) {
    return "<SegmentURL mediaRange=\"" + std::to_string(start) + "-" + std::to_string(stop - 1) +
           "\" indexRange=\"" + std::to_string(start) + "-" + std::to_string(start + 152) + "\"/>";
  };
  const std::string manifest = textOf(folder.file("out.mpd"));
  EXPECT_THAT(manifest, HasSubstr(url(701, s1)));
  EXPECT_THAT(manifest, HasSubstr(url(s1, s2)));
  EXPECT_THAT(manifest, HasSubstr(url(s2, end)));
  EXPECT_THAT(manifest, HasSubstr("<SegmentList timescale=\"30000\" duration=\"20020\">"));
}

TEST(Record, IntegerRatesCountThousandths) {
  const TempFolder folder;
  RecordingDescription d;
  d.rate = 30;
  d.scale = 1;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  writeFrames(*file, 5400);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[1]/traf/tfdt")->baseMediaDecodeTime, 30000u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->earliestPresentationTime, 1001u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[1]")->earliestPresentationTime, 301001u);
  const std::string manifest = textOf(folder.file("out.mpd"));
  EXPECT_THAT(manifest, HasSubstr("mediaPresentationDuration=\"PT0H3M0.00S\""));
  EXPECT_THAT(manifest, HasSubstr("frameRate=\"30000/1000\""));
  EXPECT_THAT(manifest, HasSubstr("timescale=\"30000\" duration=\"300000\""));
}

TEST(Record, WithoutReservedReferencesTheRecordingIsOneReadableSegment) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), {}, 37);
  writeFrames(*file, 100);
  EXPECT_FALSE(exists(folder.file("out.mpd")));
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4v"));
  EXPECT_EQ(boxes.at("sidx")->size, 32u);
  EXPECT_EQ(boxes.at("sidx[1]"), nullptr);
  EXPECT_NE(boxes.at("moof[99]"), nullptr);
  EXPECT_THAT(textOf(folder.file("out.m3u8")), HasSubstr("#EXT-X-TARGETDURATION:0\n"));
  EXPECT_THAT(textOf(folder.file("out.m3u8")), HasSubstr("#EXTINF:3.337,\n"));
  for (const char* name : {"out.m4v", "out.mpd"}) {
    const MediaFile read = openFile(folder.file(name));
    ASSERT_NE(read, nullptr) << name;
    EXPECT_EQ(read->GetTotalFrames(), 100u);
    EXPECT_EQ(readFrame(*read, 99).data, frameBytes(99));
  }
}

TEST(Record, ReopeningAnObjectStartsANewRecording) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("one.mp4"));
  writeFrames(*file, 31);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK) << "closing twice does nothing further";
  MFXOPEN request = writeRequest(folder.file("two.mp4"));
  const std::string path = folder.file("two.mp4");
  request.fileName = path.c_str();
  ASSERT_EQ(file->MFXCmd(MFX_OPEN, &request), VL_OK);
  EXPECT_EQ(describeVideo(*file, {}), VL_OK);
  writeFrames(*file, 7);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("two.m4v"));
  EXPECT_EQ(boxes.topLevel(), "ftyp moov sidx moof mdat");
  EXPECT_EQ(boxes.get<mp4::MovieFragmentHeaderBox>("moof/mfhd")->sequenceNumber, 1u);
  EXPECT_EQ(textOf(folder.file("one.m3u8")).find("two"), std::string::npos);
}

TEST(Record, OpeningAnotherFileFinishesTheRecording) {
  const TempFolder folder;
  const MediaFile file = startRecording(folder.file("one.mp4"));
  writeFrames(*file, 7);
  MFXOPEN request = writeRequest(folder.file("two.mp4"));
  const std::string path = folder.file("two.mp4");
  request.fileName = path.c_str();
  ASSERT_EQ(file->MFXCmd(MFX_OPEN, &request), VL_OK);
  const MediaFile read = openFile(folder.file("one.m4v"));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->GetTotalFrames(), 7u);
  EXPECT_NE(textOf(folder.file("one.m3u8")).find("#EXT-X-ENDLIST"), std::string::npos);
}

TEST(Record, DestroyingAnOpenRecordingFinishesIt) {
  const TempFolder folder;
  {
    const MediaFile file = startRecording(folder.file("out.mp4"));
    writeFrames(*file, 3);
  }
  EXPECT_THAT(textOf(folder.file("out.m3u8")), testing::EndsWith("#EXT-X-ENDLIST\n"));
  EXPECT_EQ(openFile(folder.file("out.mpd"))->GetTotalFrames(), 3u);
}

TEST(Record, WithoutFramesOnlyTheFileTypeIsWritten) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(readFile(folder.file("out.m4v")).size(), 28u);
  EXPECT_FALSE(exists(folder.file("out.mpd")));
  EXPECT_FALSE(exists(folder.file("out.m3u8")));
}

}  // namespace

}  // namespace fmp4
