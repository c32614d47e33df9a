#include <gtest/gtest.h>

#include <array>

#include "tests/plugin/loaded_plugin.h"

namespace fmp4 {

namespace {

TEST(NewObject, ReportsItsDefaults) {
  const MediaFile file = createObject();
  const Described d = describe(*file);

  EXPECT_EQ(d.system.fileType, 147u);
  EXPECT_EQ(d.system.microSecondsPerFrame, 33366u);
  EXPECT_EQ(d.system.maximumBytesPerSecond, 34594u);
  EXPECT_EQ(d.system.paddingGranularity, 2048u);
  EXPECT_EQ(d.system.flags, 0u);
  EXPECT_EQ(d.system.totalFrames, 0u);
  EXPECT_EQ(d.system.suggestedBufferSize, 1296000u);
  EXPECT_EQ(d.system.width, 720u);
  EXPECT_EQ(d.system.height, 480u);
  EXPECT_EQ(d.system.scale, 1001u);
  EXPECT_EQ(d.system.rate, 30000u);
  EXPECT_EQ(d.system.length, 0u);
  EXPECT_STREQ(d.system.name, "Fmp4");

  const QVRVIDEO& video = *d.video;
  EXPECT_EQ(video.fileType, 147u);
  EXPECT_EQ(video.bitmap.size, 40u);
  EXPECT_EQ(video.bitmap.width, 720);
  EXPECT_EQ(video.bitmap.height, 480);
  EXPECT_EQ(video.bitmap.planes, 1);
  EXPECT_EQ(video.bitmap.bitCount, 24);
  EXPECT_EQ(video.bitmap.compression, 0u);
  EXPECT_EQ(video.bitmap.sizeImage, 1036800u);
  EXPECT_EQ(video.bitmap.xPixelsPerMetre, 0);
  EXPECT_EQ(video.bitmap.yPixelsPerMetre, 0);
  for (int i = 0; i < 1024; ++i) ASSERT_EQ(video.colourTable[i], 0);
  EXPECT_EQ(video.stream.type, 0x76696473u);
  EXPECT_EQ(video.stream.handler, 0u);
  EXPECT_EQ(video.stream.flags, 0u);
  EXPECT_EQ(video.stream.scale, 1001u);
  EXPECT_EQ(video.stream.rate, 30000u);
  EXPECT_EQ(video.stream.start, 0u);
  EXPECT_EQ(video.stream.length, 0u);
  EXPECT_EQ(video.stream.initialFrames, 0u);
  EXPECT_EQ(video.stream.suggestedBufferSize, 1296000u);
  EXPECT_EQ(video.stream.quality, 0xFFFFFFFFu);
  EXPECT_EQ(video.stream.sampleSize, 0u);
  EXPECT_EQ(video.stream.frameLeft, 0);
  EXPECT_EQ(video.stream.frameTop, 0);
  EXPECT_EQ(video.stream.frameRight, 720);
  EXPECT_EQ(video.stream.frameBottom, 480);
  EXPECT_EQ(video.stream.editCount, 0u);
  EXPECT_STREQ(video.stream.name, "Fmp4");

  EXPECT_EQ(d.audio.fileType, 147u);
  EXPECT_EQ(d.audio.wave.formatTag, 1);
  EXPECT_EQ(d.audio.wave.channels, 0);
  EXPECT_EQ(d.audio.wave.samplesPerSecond, 48000u);
  EXPECT_EQ(d.audio.wave.averageBytesPerSecond, 0u);
  EXPECT_EQ(d.audio.wave.blockAlign, 0);
  EXPECT_EQ(d.audio.wave.bitsPerSample, 16);
  EXPECT_EQ(d.audio.wave.extraSize, 0);
  EXPECT_EQ(d.audio.stream.type, 0x61756473u);
  EXPECT_EQ(d.audio.stream.handler, 0u);
  EXPECT_EQ(d.audio.stream.scale, 0u);
  EXPECT_EQ(d.audio.stream.rate, 0u);
  EXPECT_EQ(d.audio.stream.length, 0u);
  EXPECT_EQ(d.audio.stream.quality, 0xFFFFFFFFu);
  EXPECT_STREQ(d.audio.stream.name, "Fmp4");

  EXPECT_EQ(file->GetTotalFrames(), 0u);
  EXPECT_EQ(file->QueryCapability(0), 1u);
  EXPECT_EQ(file->QueryCapability(0xFFFFFFFF), 1u);
}

TEST(SetSysInfo, MakesTheFrameSizeFourBytesPerPixel) {
  const MediaFile file = createObject();
  Described d = describe(*file);
  d.video->bitmap.width = 720;
  d.video->bitmap.height = -480;
  EXPECT_EQ(file->SetSysInfo(nullptr, d.video.get(), nullptr), VL_OK);
  EXPECT_EQ(describe(*file).video->bitmap.sizeImage, 1382400u);
  EXPECT_EQ(describe(*file).video->bitmap.height, -480);
}

TEST(SetSysInfo, WithoutVideoLeavesTheFrameSize) {
  const MediaFile file = createObject();
  EXPECT_EQ(file->SetSysInfo(nullptr, nullptr, nullptr), VL_OK);
  EXPECT_EQ(describe(*file).video->bitmap.sizeImage, 1036800u);
}

struct CodecRow {
  std::array<char, 64> shortCode{}, name{};
  std::uint32_t flags = 7, extra = 7;
};

TEST(EnumCodecs, TheAudioRow) {
  const MediaFile file = createObject();
  CodecRow row;
  row.shortCode.fill('x');
  EXPECT_EQ(file->EnumCodecs(-1, 0, row.shortCode.data(), row.name.data(), &row.flags, &row.extra),
            0x6D703461u);
  EXPECT_STREQ(row.shortCode.data(), "AAC");
  EXPECT_EQ(row.shortCode[4], 'x') << "a field of four bytes";
  EXPECT_STREQ(row.name.data(), "AAC Audio Stream");
  EXPECT_EQ(row.flags, 0x10000040u);
  EXPECT_EQ(row.extra, 0u);
}

TEST(EnumCodecs, TheVideoRow) {
  const MediaFile file = createObject();
  for (const std::int32_t stream : {0, 1, 77}) {
    CodecRow row;
    EXPECT_EQ(file->EnumCodecs(stream, 0, row.shortCode.data(), row.name.data(), &row.flags, &row.extra),
              0x61766331u);
    EXPECT_STREQ(row.shortCode.data(), "AVC1 h.264");
    EXPECT_STREQ(row.name.data(), "AVC1 h.264");
    EXPECT_EQ(row.flags, 0x10000023u);
    EXPECT_EQ(row.extra, 0u);
  }
}

TEST(EnumCodecs, NullPointersAreSkipped) {
  const MediaFile file = createObject();
  EXPECT_EQ(file->EnumCodecs(-1, 0, nullptr, nullptr, nullptr, nullptr), 0x6D703461u);
  EXPECT_EQ(file->EnumCodecs(0, 0, nullptr, nullptr, nullptr, nullptr), 0x61766331u);
  CodecRow row;
  file->EnumCodecs(0, 0, row.shortCode.data(), nullptr, nullptr, nullptr);
  EXPECT_STREQ(row.shortCode.data(), "") << "in the video row both texts depend on the name pointer";
  file->EnumCodecs(0, 0, nullptr, row.name.data(), nullptr, nullptr);
  EXPECT_STREQ(row.name.data(), "AVC1 h.264");
}

TEST(EnumCodecs, ThereIsOneOfEach) {
  const MediaFile file = createObject();
  for (const std::int32_t stream : {-1, 0}) {
    for (const std::int32_t index : {1, 2, -1}) {
      CodecRow row;
      EXPECT_EQ(
          file->EnumCodecs(stream, index, row.shortCode.data(), row.name.data(), &row.flags, &row.extra),
          0xFFFFFFFFu);
      EXPECT_EQ(row.flags, 7u);
      EXPECT_EQ(row.extra, 7u);
      EXPECT_STREQ(row.name.data(), "");
    }
  }
}

TEST(SetCodecOption, SetsHeightAndWidthAndReturnsTheBasesResult) {
  const MediaFile file = createObject();
  CODEC_DESCRIPTION codec{};
  const std::uint32_t base = file->SetCodecOption(1, 0, 99, 5, &codec);
  EXPECT_EQ(file->SetCodecOption(1, 0, 3, 1920, &codec), base);
  EXPECT_EQ(file->SetCodecOption(1, 0, 2, 1080, &codec), base);
  EXPECT_EQ(file->SetCodecOption(1, 0, 8, 60, &codec), base);
  const Described d = describe(*file);
  EXPECT_EQ(d.video->bitmap.width, 1920);
  EXPECT_EQ(d.video->bitmap.height, 1080);
}

TEST(FindKeyFrame, WithoutAnOpenSourceReturnsTheFrame) {
  const MediaFile file = createObject();
  EXPECT_EQ(file->FindKeyFrame(1, 1, 77, 1), 77u);
  EXPECT_EQ(file->FindKeyFrame(1, 1, 77, 0), 77u);
}

TEST(Close, TwiceIsHarmlessAndTheObjectStaysUsable) {
  const MediaFile file = createObject();
  EXPECT_EQ(file->Close(), VL_OK);
  EXPECT_EQ(file->Close(), VL_OK);
  EXPECT_EQ(describe(*file).system.totalFrames, 0u);
}

}  // namespace

}  // namespace fmp4
