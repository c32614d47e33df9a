// Setting up and writing the initialisation part of a file.
#include <gtest/gtest.h>

#include "mp4box/write.h"
#include "recording/write/default_boxes.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

constexpr std::uint32_t kTime = 0xCE5F9D88;

const Bytes kUnity =
    join({u32(0x00010000), u32(0), u32(0), u32(0), u32(0x00010000), u32(0), u32(0), u32(0), u32(0x40000000)});
const Bytes kMovieHeader = fullBox("mvhd", 0, 0,
                                   {u32(kTime), u32(kTime), u32(90000), u32(0), u32(0x00010000), u16(0x0100),
                                    u16(0), zeros(8), kUnity, zeros(24), u32(2)});
const Bytes kDataInformation = box("dinf", {fullBox("dref", 0, 0, {u32(1), fullBox("url ", 0, 1)})});

Bytes trackHeader(std::uint32_t id, const Bytes& matrix, std::uint32_t width, std::uint32_t height) {
  return fullBox(
      "tkhd", 0, 3,
      {u32(kTime), u32(kTime), u32(id), u32(0), u32(0), zeros(8), zeros(8), matrix, u32(width), u32(height)});
}
Bytes mediaHeader(std::uint32_t timescale) {
  return fullBox("mdhd", 0, 0, {u32(kTime), u32(kTime), u32(timescale), u32(0), u16(21956), u16(0)});
}
Bytes handler(const char* type, const char* name) {
  return fullBox("hdlr", 0, 0, {u32(0), text(type), zeros(12), text(name), u8(0)});
}
Bytes sampleTable(const Bytes& entry) {
  return box("stbl", {fullBox("stsd", 0, 0, {u32(1), entry}), fullBox("stts", 0, 0, {u32(0)}),
                      fullBox("stsc", 0, 0, {u32(0)}), fullBox("stsz", 0, 0, {u32(0), u32(0)}),
                      fullBox("stco", 0, 0, {u32(0)})});
}
Bytes mediaBox(std::uint32_t timescale, const Bytes& handlerBox, const Bytes& kindHeader,
               const Bytes& entry) {
  return box("mdia", {mediaHeader(timescale), handlerBox,
                      box("minf", {kindHeader, kDataInformation, sampleTable(entry), handlerBox})});
}

const Bytes kVisualFields = join({zeros(6), u16(1), zeros(16), u16(1280), u16(720), u32(0x00480000),
                                  u32(0x00480000), u32(0), u16(1), zeros(32), u16(24), u16(0xFFFF)});
const Bytes kStandInAvcConfiguration = box("avcC", {Bytes{1, 1, 1, 1, 0xFF, 0xE0}});

Bytes videoTrack(std::uint32_t id, std::uint32_t timescale) {
  return box("trak", {trackHeader(id, kUnity, 1280u << 16, 720u << 16),
                      mediaBox(timescale, handler("vide", "Veltrane Video Handler"),
                               fullBox("vmhd", 0, 1, {zeros(8)}),
                               box("avc1", {kVisualFields, kStandInAvcConfiguration}))});
}
Bytes audioTrack(std::uint32_t id) {
  return box(
      "trak",
      {trackHeader(id, zeros(36), 0, 0),
       mediaBox(
           48000, handler("soun", "Veltrane Audio Handler"), fullBox("smhd", 0, 0, {u16(0), u16(0)}),
           box("mp4a", {zeros(6), u16(1), zeros(8), u16(2), u16(16), u16(0), u16(0), u32(0xBB800000)}))});
}
Bytes captionTrack(std::uint32_t id, const char* name, const char* entry) {
  return box("trak",
             {trackHeader(id, zeros(36), 0, 0),
              mediaBox(30000, handler("clcp", name), fullBox("nmhd", 0, 0), box(entry, {zeros(6), u16(1)}))});
}
Bytes trackExtends(std::uint32_t id, std::uint32_t duration) {
  return fullBox("trex", 0, 0, {u32(id), u32(1), u32(duration), u32(0), u32(0)});
}

template <class Write>
Bytes written(Write write) {
  Mp4MemoryOutput out;
  write(out);
  return out.bytes;
}
Bytes written(mp4::Movie& movie) {
  return written([&](Mp4Output& out) { Mp4WriteMovie(out, movie); });
}
Bytes sampleDescription(mp4::Track& track) {
  return written([&](Mp4Output& out) { Mp4WriteSampleDescription(out, track); });
}
Bytes sampleDescriptionOf(const Bytes& entry) {
  return fullBox("stsd", 0, 0, {u32(1), entry});
}

TEST(FileTypeBox, Is28Bytes) {
  mp4::FileTypeBox ftyp = Mp4SetUpFileType();
  const Bytes bytes = written([&](Mp4Output& out) { Mp4WriteFileType(out, ftyp); });
  EXPECT_EQ(bytes, join({u32(28), text("ftyp"), text("iso5"), u32(0x00001FFF), text("iso5dashmsix")}));
}

TEST(MovieBox, OfAVideoTrackHoldsHeaderExtendsAndTrack) {
  mp4::Movie movie;
  movie.mvhd = Mp4SetUpMovieHeader();
  movie.mvex = Mp4SetUpMovieExtends({.video = true}, 1001, false);
  movie.tracks[TrackKind::Video] = Mp4SetUpVideoTrack(1, 30000, 1280, 720);
  EXPECT_EQ(written(movie),
            box("moov", {kMovieHeader, box("mvex", {trackExtends(1, 1001)}), videoTrack(1, 30000)}));
}

TEST(MovieBox, OfFourTracksKeepsTheirOrder) {
  mp4::Movie movie;
  movie.mvhd = Mp4SetUpMovieHeader();
  movie.mvex =
      Mp4SetUpMovieExtends({.video = true, .audio = true, .captions608 = true, .captions708 = true}, 1, true);
  movie.tracks[TrackKind::Captions708] = Mp4SetUp708Track(4, 30);
  movie.tracks[TrackKind::Captions608] = Mp4SetUp608Track(3, 30);
  movie.tracks[TrackKind::Audio] = Mp4SetUpAudioTrack(2, 48000);
  movie.tracks[TrackKind::Video] = Mp4SetUpVideoTrack(1, 30, 1280, 720);
  EXPECT_EQ(written(movie),
            box("moov", {kMovieHeader,
                         box("mvex", {fullBox("mehd", 0, 0, {u32(0)}), trackExtends(1, 1000),
                                      trackExtends(2, 1024), trackExtends(3, 0), trackExtends(4, 1000)}),
                         videoTrack(1, 30000), audioTrack(2),
                         captionTrack(3, "Veltrane 608 Closed Captions Media Handler", "c608"),
                         captionTrack(4, "Veltrane 708 Closed Captions Media Handler", "c708")}));
}

TEST(MovieBox, WritesChangedValues) {
  mp4::Movie movie;
  movie.mvhd = Mp4SetUpMovieHeader();
  movie.mvhd.version = 1;
  movie.mvhd.duration = 0x100000000;
  const Bytes expected = fullBox("mvhd", 1, 0,
                                 {u64(kTime), u64(kTime), u32(90000), u64(0x100000000), u32(0x00010000),
                                  u16(0x0100), zeros(10), kUnity, zeros(24), u32(2)});
  EXPECT_EQ(written(movie), box("moov", {expected, box("mvex")}));
}

TEST(TrackSetUp, CountsTimeInThousandthsOfAFrameUpToRate1000) {
  EXPECT_EQ(Mp4SetUpVideoTrack(1, 25, 1, 1).mdhd.timescale, 25000u);
  EXPECT_EQ(Mp4SetUpVideoTrack(1, 1000, 1, 1).mdhd.timescale, 1000000u);
  EXPECT_EQ(Mp4SetUpVideoTrack(1, 1001, 1, 1).mdhd.timescale, 1001u);
  EXPECT_EQ(Mp4SetUpVideoTrack(1, 30000, 1, 1).mdhd.timescale, 30000u);
  EXPECT_EQ(Mp4SetUp608Track(3, 25).mdhd.timescale, 25000u);
  EXPECT_EQ(Mp4SetUp708Track(4, 30000).mdhd.timescale, 30000u);
  EXPECT_EQ(Mp4SetUpAudioTrack(2, 44100).mdhd.timescale, 44100u);
}

TEST(TrackSetUp, TakesTheHeightOfABottomUpFrameAsPositive) {
  const mp4::Track track = Mp4SetUpVideoTrack(1, 25, 1920, -1080);
  EXPECT_EQ(track.tkhd.width, 1920u << 16);
  EXPECT_EQ(track.tkhd.height, 1080u << 16);
  EXPECT_EQ(std::get<mp4::VideoMedia>(track.media).avc1.height, 1080);
}

TEST(TrackSetUp, NamesTheVideoHandlerIn55Bytes) {
  mp4::Track track = Mp4SetUpVideoTrack(1, 25, 1920, 1080);
  const Bytes bytes = written([&](Mp4Output& out) { Mp4WriteBox(out, Mp4FourCc("hdlr"), track.hdlr); });
  EXPECT_EQ(bytes.size(), 55u);
  EXPECT_EQ(bytes, handler("vide", "Veltrane Video Handler"));
}

TEST(SampleDescription, HoldsTheAvcConfigurationOfTheStream) {
  mp4::Track track = Mp4SetUpVideoTrack(1, 25, 1280, -720);
  const Bytes record = {1, 0x64, 0, 0x1F, 0xFF, 0xE1, 0, 2, 0x67, 0x64, 1, 0, 1, 0x68};
  std::get<mp4::VideoMedia>(track.media).avcC.record = record;
  EXPECT_EQ(sampleDescription(track),
            sampleDescriptionOf(box("avc1", {kVisualFields, box("avcC", {record})})));
}

TEST(SampleDescription, WithoutAvcConfigurationHoldsAPlaceholderOf14Bytes) {
  mp4::Track track = Mp4SetUpVideoTrack(1, 25, 1280, 720);
  EXPECT_EQ(kStandInAvcConfiguration.size(), 14u);
  EXPECT_EQ(sampleDescription(track),
            sampleDescriptionOf(box("avc1", {kVisualFields, kStandInAvcConfiguration})));
}

TEST(SampleDescription, HoldsAnElementaryStreamDescriptorOf39BytesForTwoBytesOfAacConfiguration) {
  mp4::Track track = Mp4SetUpAudioTrack(2, 48000);
  auto& config = std::get<mp4::AudioMedia>(track.media).esds.decoderConfig.emplace();
  config.objectTypeIndication = 0x40;
  config.streamType = 0x15;
  config.bufferSizeDB = 6144;
  config.maxBitrate = 352000;
  config.decoderSpecificInfo = {0x11, 0x90};
  const Bytes esds = fullBox("esds", 0, 0,
                             {Bytes{0x03, 25}, u16(0), u8(0), Bytes{0x04, 17}, u8(0x40), u8(0x15), u24(6144),
                              u32(352000), u32(0), Bytes{0x05, 2, 0x11, 0x90}, Bytes{0x06, 1, 2}});
  EXPECT_EQ(esds.size(), 39u);
  EXPECT_EQ(sampleDescription(track),
            sampleDescriptionOf(box("mp4a", {zeros(6), u16(1), zeros(8), u16(2), u16(16), u16(0), u16(0),
                                             u32(0xBB800000), esds})));
}

TEST(SampleDescription, WithoutDecoderConfigurationHoldsNoElementaryStreamDescriptor) {
  mp4::Track track = Mp4SetUpAudioTrack(2, 48000);
  EXPECT_EQ(sampleDescription(track),
            sampleDescriptionOf(
                box("mp4a", {zeros(6), u16(1), zeros(8), u16(2), u16(16), u16(0), u16(0), u32(0xBB800000)})));
}

TEST(SampleDescription, HoldsCaptionEntriesOf16Bytes) {
  mp4::Track cc608 = Mp4SetUp608Track(3, 30000);
  mp4::Track cc708 = Mp4SetUp708Track(4, 30000);
  EXPECT_EQ(sampleDescription(cc608), sampleDescriptionOf(join({u32(16), text("c608"), zeros(6), u16(1)})));
  EXPECT_EQ(sampleDescription(cc708), sampleDescriptionOf(join({u32(16), text("c708"), zeros(6), u16(1)})));
}

TEST(MovieExtends, GivesDefaultDurationsByKindAndScale) {
  const auto durations = [](std::uint32_t scale) {
    auto mvex = Mp4SetUpMovieExtends({.video = true, .audio = true, .captions608 = true, .captions708 = true},
                                     scale, false);
    EXPECT_FALSE(mvex.mehd);
    std::vector<std::uint32_t> list;
    for (const TrackKind kind : mp4::kTrackKinds) list.push_back(mvex.trex[kind]->defaultSampleDuration);
    return list;
  };
  EXPECT_EQ(durations(1001), (std::vector<std::uint32_t>{1001, 1024, 0, 1001}));
  EXPECT_EQ(durations(1000), (std::vector<std::uint32_t>{1000, 1024, 0, 1000}));
  EXPECT_EQ(durations(1), (std::vector<std::uint32_t>{1000, 1024, 0, 1000}));
}

TEST(MovieExtends, NumbersTracksByKind) {
  auto mvex = Mp4SetUpMovieExtends({.audio = true, .captions708 = true}, 1, false);
  EXPECT_FALSE(mvex.trex[TrackKind::Video]);
  EXPECT_EQ(mvex.trex[TrackKind::Audio]->trackId, 2u);
  EXPECT_FALSE(mvex.trex[TrackKind::Captions608]);
  EXPECT_EQ(mvex.trex[TrackKind::Captions708]->trackId, 4u);
}

}  // namespace

}  // namespace fmp4
