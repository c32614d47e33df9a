// Recording audio: in a separate file, and in the video's file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>

#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trun.h"
#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// ---- A separate file --------------------------------------------------------------------------------

TEST(AudioApart, ListsBothFilesInOneManifest) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
  writeFrames(*file, 30);
  writeAudio(*file, 49);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile video(folder.file("out.m4v"));
  EXPECT_EQ(video.topLevel(), "ftyp moov sidx moof mdat");
  EXPECT_EQ(video.at("moov/trak[1]"), nullptr);
  BoxFile audio(folder.file("out.m4a"));
  EXPECT_EQ(audio.topLevel(), "ftyp moov sidx moof mdat moof mdat");
  EXPECT_EQ(
      withoutTime(textOf(folder.file("out.mpd"))),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" minBufferTime=\"PT1.500000S\" type=\"static\" "
      "profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\" "
      "mediaPresentationDuration=\"PT0H0M1.00S\" availabilityStartTime=\"NOW\" publishTime=\"NOW\">\n"
      "    <Period start=\"PT0H0M0.00S\" id=\"1\">\n"
      "        <AdaptationSet>\n"
      "            <Representation id=\"1\" mimeType=\"video/mp4\" codecs=\"avc1.64001e\" width=\"320\" "
      "height=\"180\" frameRate=\"30000/1001\" bandwidth=\"0\">\n"
      "                <BaseURL>out.m4v</BaseURL>\n"
      "                <SegmentList timescale=\"30000\" duration=\"300300\">\n"
      "                    <Initialization range=\"0-700\"/>\n"
      "                    <SegmentURL mediaRange=\"701-4304\" indexRange=\"701-853\"/>\n"
      "                </SegmentList>\n"
      "            </Representation>\n"
      "        </AdaptationSet>\n"
      "        <AdaptationSet>\n"
      "            <Representation id=\"2\" mimeType=\"audio/mp4\" codecs=\"mp4a.40.02\" "
      "audioSamplingRate=\"48000\" bandwidth=\"128000\">\n"
      "                <BaseURL>out.m4a</BaseURL>\n"
      "                <SegmentList timescale=\"48000\" duration=\"481280\">\n"
      "                    <Initialization range=\"0-660\"/>\n"
      "                    <SegmentURL mediaRange=\"661-2180\" indexRange=\"661-813\"/>\n"
      "                </SegmentList>\n"
      "            </Representation>\n"
      "        </AdaptationSet>\n"
      "    </Period>\n"
      "</MPD>\n");
  EXPECT_EQ(withoutTime(textOf(folder.file("outA.m3u8"))),
            "#EXTM3U\n"
            "#EXT-X-VERSION:7\n"
            "#EXT-X-TARGETDURATION:10\n"
            "#EXT-X-MEDIA-SEQUENCE:0\n"
            "#EXT-X-INDEPENDENT-SEGMENTS\n"
            "#EXT-X-MAP:URI=\"out.m4a\",BYTERANGE=\"661@0\"\n"
            "#EXT-X-PROGRAM-DATE-TIME:NOW\n"
            "#EXTINF:1.045,\n"
            "#EXT-X-BYTERANGE:1520@661\n"
            "out.m4a\n"
            "#EXT-X-ENDLIST\n");
}

TEST(AudioApart, AFragmentHasTheStatedFields) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), withAudio());
  writeFrames(*file, 1);
  writeAudio(*file, 49);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4a"));
  const auto* header = boxes.get<mp4::TrackFragmentHeaderBox>("moof/traf/tfhd");
  EXPECT_EQ(header->trackId, 2u);
  EXPECT_EQ(header->flags, 0x020020u);
  EXPECT_EQ(header->defaultSampleFlags, 0u);
  const auto* run = boxes.get<mp4::TrackRunBox>("moof/traf/trun");
  EXPECT_EQ(run->flags, 0x000201u);
  EXPECT_EQ(run->sampleCount, 47u) << "48048 samples, rounded up to complete access units";
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof[1]/traf/trun")->sampleCount, 2u);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[1]/traf/tfdt")->baseMediaDecodeTime, 48128u);
  const auto* sidx = boxes.get<mp4::SegmentIndexBox>("sidx");
  EXPECT_EQ(sidx->referenceId, 2u);
  EXPECT_EQ(sidx->timescale, 48000u);
  EXPECT_EQ(sidx->earliestPresentationTime, 481280u);
  ASSERT_EQ(sidx->references.size(), 10u);
  EXPECT_EQ(sidx->references[0].subsegmentDuration, 48128u);
  EXPECT_EQ(sidx->references[1].subsegmentDuration, 2048u);
  EXPECT_EQ(sidx->references[1].startsWithSap, 1u);
  EXPECT_EQ(sidx->references[1].sapType, 1u);
  EXPECT_EQ(sidx->references[2].startsWithSap, 0u);
}

TEST(AudioApart, SharesTheVideosGeometryAndContinuesSegmentTimes) {
  const TempFolder folder;
  RecordingDescription d = withAudio(44100);
  d.rate = 25;
  d.scale = 1;
  MediaFile file = startRecording(folder.file("out.mp4"), d, 12);
  writeAudio(*file, 250);  // before any frame
  writeFrames(*file, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4a"));
  // 44100 * 12 / 25 = 21168 samples: 21 access units, 21504 samples; ten fragments per segment.
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf/trun")->sampleCount, 21u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->earliestPresentationTime, 215040u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[1]")->earliestPresentationTime, 430080u);
  EXPECT_THAT(textOf(folder.file("outA.m3u8")), HasSubstr("#EXT-X-TARGETDURATION:5\n"));
  EXPECT_THAT(textOf(folder.file("outA.m3u8")), HasSubstr("#EXTINF:4.876,\n"));
  EXPECT_THAT(textOf(folder.file("outA.m3u8")), HasSubstr("#EXTINF:0.929,\n")) << "40 access units remain";
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("timescale=\"44100\" duration=\"215040\""));
}

TEST(AudioApart, CompleteSegmentsAreListedAtOnceAndInTheManifestWithTheVideo) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"), withAudio(), 2);
  writeFrames(*file, 1);
  // 48000 * 2 * 1001 / 30000 = 3203 samples: 4 access units, 40 per segment.
  writeAudio(*file, 40);
  EXPECT_THAT(textOf(folder.file("outA.m3u8")), HasSubstr("#EXTINF:0.853,\n"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.mpd"))) << "it is saved once for all tracks";
  writeFrames(*file, 19, 1);
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("<BaseURL>out.m4a</BaseURL>"));
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("mediaRange=\"661-"));
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("mediaPresentationDuration=\"PT0H0M0.67S\""));
  const auto size = std::filesystem::file_size(folder.file("out.m4a"));
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(std::filesystem::file_size(folder.file("out.m4a")), size);
}

TEST(AudioApart, AudioOnlyUsesTheDefaultRateAndGeometry) {
  const TempFolder folder;
  MediaFile file = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  ASSERT_EQ(describeAudio(*file, withAudio()), VL_OK);
  writeAudio(*file, 48);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4a"));
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf/trun")->sampleCount, 47u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->references.size(), 10u);
}

TEST(AudioApart, Ac3FramesLastLongerOnlyInTheLastReference) {
  const TempFolder folder;
  MediaFile file = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  QVRAUDIO audio = describe(*file).audio;
  audio.codec = 0x61632D33;
  audio.wave.samplesPerSecond = 48000;
  ASSERT_EQ(file->SetFileInfo(3, nullptr, nullptr, &audio, nullptr), VL_OK);
  writeAudio(*file, 49);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4a"));
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->references[0].subsegmentDuration, 48128u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->references[1].subsegmentDuration, 3072u);
}

TEST(AudioApart, TimesThatOutgrow32BitsTakeVersionOne) {
  // At 1.001 frames per second a fragment has 1405 access units, 1438720 samples; number 2985 passes 2^32.
  const TempFolder folder;
  RecordingDescription d = withAudio();
  d.rate = 1001;
  d.scale = 1000;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  DFRAME empty{};
  empty.size = sizeof empty;
  for (std::uint32_t i = 0; i < 2987 * 1405; ++i)
    ASSERT_EQ(file->Write(i, 1, 3, QVR_MODE_AUDIO, &empty, nullptr), VL_OK);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4a"));
  const auto* last32 = boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[2985]/traf/tfdt");
  EXPECT_EQ(last32->version, 0u);
  EXPECT_EQ(last32->baseMediaDecodeTime, 4294579200u);
  const auto* first64 = boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[2986]/traf/tfdt");
  EXPECT_EQ(first64->version, 1u);
  EXPECT_EQ(first64->baseMediaDecodeTime, 4296017920u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[297]")->version, 0u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[297]")->earliestPresentationTime, 4287385600u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[298]")->version, 1u);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx[298]")->earliestPresentationTime, 4301772800u);
  EXPECT_EQ(boxes.at("sidx[298]")->size, 160u) << "8 more bytes, reserved and used alike";
  EXPECT_EQ(boxes.at("sidx[299]"), nullptr);
}

// ---- The decoder's configuration --------------------------------------------------------------------

Bytes storedConfiguration(const Bytes& given, std::uint16_t channels = 2) {
  const TempFolder folder;
  MediaFile file = createFile(folder.file("out.m4a"), MF_OPEN_AUDIO_ONLY);
  RecordingDescription d = withAudio();
  d.audioConfiguration = given;
  d.channels = channels;
  EXPECT_EQ(describeAudio(*file, d), VL_OK);
  writeAudio(*file, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.m4a"));
  const auto* esds = boxes.get<mp4::ESDBox>("moov/trak/mdia/minf/stbl/stsd/mp4a/esds");
  EXPECT_EQ(esds->decoderConfig->objectTypeIndication, 0x40);
  EXPECT_EQ(esds->decoderConfig->streamType, 0x15);
  EXPECT_EQ(esds->decoderConfig->bufferSizeDB, 6144u);
  EXPECT_EQ(esds->decoderConfig->maxBitrate, 352000u);
  EXPECT_EQ(esds->decoderConfig->avgBitrate, 0u);
  return esds->decoderConfig->decoderSpecificInfo;
}

TEST(AudioConfiguration, OnlyShortOnesAreCopied) {
  EXPECT_EQ(storedConfiguration({0x11, 0x90}), Bytes({0x11, 0x90}));
  EXPECT_EQ(storedConfiguration({0x13, 0x10, 0x56, 0xE5}), Bytes({0x13, 0x10, 0x56, 0xE5}));
  EXPECT_EQ(storedConfiguration({0x13, 0x10, 0x56, 0xE5, 0x98}), Bytes());
  EXPECT_EQ(storedConfiguration({}), Bytes());
}

TEST(AudioConfiguration, IsDerivedFromAnAdtsHeader) {
  // AAC LC (profile 1) at 48000 Hz (index 3), and at 44100 Hz (index 4) with 6 channels.
  EXPECT_EQ(storedConfiguration({0xFF, 0xF1, 0x4C, 0x80, 0, 0, 0}), Bytes({0x11, 0x90}));
  EXPECT_EQ(storedConfiguration({0xFF, 0xF9, 0x50, 0x80, 0, 0, 0}, 6), Bytes({0x12, 0x30}));
}

// ---- The same file ----------------------------------------------------------------------------------

std::vector<std::uint32_t> audioCounts(BoxFile& boxes) {
  std::vector<std::uint32_t> counts;
  for (Mp4Box* box = boxes.root->first; box; box = box->next) {
    if (box->type != Mp4FourCc("moof")) continue;
    for (Mp4Box* traf = box->first; traf; traf = traf->next) {
      const auto* header = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(Mp4BoxChild(traf, Mp4FourCc("tfhd")));
      if (!header || header->trackId != 2) continue;
      counts.push_back(Mp4PayloadOf<mp4::TrackRunBox>(Mp4BoxChild(traf, Mp4FourCc("trun")))->sampleCount);
    }
  }
  return counts;
}

// A host may deliver the same access unit once for each pair of its channels.
TEST(AudioApart, ChannelPairsOfOneAccessUnitAreRecordedOnce) {
  const TempFolder folder;
  RecordingDescription d;
  d.audioMask = 0x3F;
  d.channels = 6;
  MediaFile file = startRecording(folder.file("out.mp4"), d);
  writeFrames(*file, 3);
  for (std::uint32_t i = 0; i < 4; ++i) {
    for (const std::uint32_t pair : {0x03u, 0x0Cu, 0x30u})
      EXPECT_EQ(writeSample(*file, pair, QVR_MODE_AUDIO, frameBytes(i, 20), i), VL_OK) << pair;
    EXPECT_EQ(writeSample(*file, 0xC0, QVR_MODE_AUDIO, frameBytes(i, 20), i), 0xFFFFFFFFu);
  }
  EXPECT_EQ(writeSample(*file, 0x02, QVR_MODE_AUDIO, frameBytes(4, 20), 4), VL_OK) << "of the first pair";
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(BoxFile(folder.file("out.m4a")).get<mp4::TrackRunBox>("moof/traf/trun")->sampleCount, 5u);

  d.audioMask = 0x0F;
  d.channels = 2;
  file = startRecording(folder.file("two.mp4"), d);
  writeFrames(*file, 1);
  EXPECT_EQ(writeSample(*file, 0x0C, QVR_MODE_AUDIO, frameBytes(0, 20)), 0xFFFFFFFFu)
      << "a second stereo stream has no track";
}

TEST(AudioInside, TheRunningTotalDecidesWhenAFragmentGetsOneMore) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  writeAudio(*file, 500);
  writeFrames(*file, 300);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  // 46.92 per fragment, and in the last one the remainder of 500.
  EXPECT_THAT(audioCounts(boxes), ElementsAre(46, 47, 47, 47, 47, 47, 47, 47, 47, 78));
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[2]/traf[1]/tfdt")->baseMediaDecodeTime,
            93u * 1024);
  EXPECT_EQ(boxes.get<mp4::TrackRunBox>("moof/traf[1]/trun")->dataOffset,
            static_cast<std::int32_t>(boxes.at("moof")->size + 8 + 30 * 100));
  EXPECT_EQ(boxes.at("mdat")->size, 8u + 30 * 100 + 46 * 20);
  EXPECT_EQ(boxes.get<mp4::SegmentIndexBox>("sidx")->references[0].subsegmentDuration, 30030u);
}

TEST(AudioInside, TheRemainderAtASegmentsEndMakesNoSegmentOfItsOwn) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  for (std::uint32_t i = 0; i < 300; ++i) {
    writeAudio(*file, i % 2 + 1);
    writeFrames(*file, 1);
  }
  writeAudio(*file, 60);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  EXPECT_EQ(boxes.at("sidx[1]"), nullptr);
  const auto counts = audioCounts(boxes);
  EXPECT_EQ(counts.size(), 10u);
  EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0u), 450u + 60);
  const std::string playlist = textOf(folder.file("out.m3u8"));
  EXPECT_EQ(playlist.find("#EXTINF"), playlist.rfind("#EXTINF"));
  EXPECT_THAT(playlist, HasSubstr("#EXTINF:10.010,\n"));
  EXPECT_THAT(textOf(folder.file("out.xml")), HasSubstr("mediaPresentationDuration=\"PT0H0M10.01S\""));
}

TEST(AudioInside, WithoutAnyFrameMakesNoSegment) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  writeAudio(*file, 60);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  EXPECT_EQ(boxes.at("sidx"), nullptr);
  EXPECT_EQ(boxes.at("moof"), nullptr);
  EXPECT_EQ(textOf(folder.file("out.m3u8")).find("#EXTINF"), std::string::npos);
}

TEST(AudioInside, IsDescribedWithTheVideo) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  writeFrames(*file, 1);
  EXPECT_EQ(closeFile(file), VL_OK);
  const std::string manifest = textOf(folder.file("out.xml"));
  EXPECT_THAT(manifest, HasSubstr("codecs=\"avc1.64001e,mp4a.40.02\""));
  EXPECT_THAT(manifest, HasSubstr("bandwidth=\"0\" audioSamplingRate=\"48000\""));
  BoxFile boxes(folder.file("out.ismv"));
  EXPECT_NE(boxes.at("moov/trak[1]/mdia/minf/stbl/stsd/mp4a"), nullptr);
  EXPECT_NE(boxes.at("moov/mvex/trex[1]"), nullptr);
}

TEST(AudioInside, AFragmentWaitsForItsCompleteAudio) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  const auto size = [&] { return std::filesystem::file_size(folder.file("out.ismv")); };
  writeFrames(*file, 30);
  writeAudio(*file, 45);
  const auto before = size();
  writeAudio(*file, 1, 45);
  EXPECT_GT(size(), before);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  EXPECT_THAT(audioCounts(boxes), ElementsAre(46));
}

TEST(AudioInside, MissingAudioDelaysTheVideoByTwoFragmentsOnly) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  const auto size = [&] { return std::filesystem::file_size(folder.file("out.ismv")); };
  writeFrames(*file, 89);
  const auto before = size();
  writeFrames(*file, 1, 89);
  EXPECT_GT(size(), before) << "three fragments' worth";
  writeFrames(*file, 60, 90);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  EXPECT_THAT(audioCounts(boxes), ElementsAre(0, 0, 0, 0, 0));
  for (const char* moof : {"moof/traf/trun", "moof[4]/traf/trun"})
    EXPECT_EQ(boxes.get<mp4::TrackRunBox>(moof)->sampleCount, 30u);
}

TEST(AudioInside, AudioThatEndsEarlyOrComesLateIsAllWritten) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  writeAudio(*file, 60);
  writeFrames(*file, 120);
  writeAudio(*file, 40, 60);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  std::uint32_t sum = 0;
  for (const std::uint32_t count : audioCounts(boxes)) sum += count;
  EXPECT_EQ(sum, 100u);
}

TEST(AudioInside, AudioAfterTheLastCompleteFragmentGetsItsOwn) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.ismv"), withAudio());
  writeFrames(*file, 30);
  writeAudio(*file, 48);
  EXPECT_EQ(closeFile(file), VL_OK);
  BoxFile boxes(folder.file("out.ismv"));
  EXPECT_THAT(audioCounts(boxes), ElementsAre(46, 2));
  EXPECT_EQ(boxes.get<mp4::TrackFragmentHeaderBox>("moof[1]/traf/tfhd")->trackId, 2u);
  EXPECT_EQ(boxes.at("moof[1]/traf[1]"), nullptr);
  const MediaFile read = openFile(folder.file("out.xml"));
  EXPECT_EQ(read->GetTotalFrames(), 30u);
}

}  // namespace

}  // namespace fmp4
