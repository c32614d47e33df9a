#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "codecutil.h"
#include "qvrutil.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

using Pair = std::pair<std::uint32_t, std::uint32_t>;

Pair normalized(std::uint32_t rate, std::uint32_t scale) {
  vidNormalizeRateScale(&rate, &scale);
  return {rate, scale};
}

Pair aspect(std::int32_t width, std::int32_t height) {
  const auto video = std::make_unique<QVRVIDEO>();
  video->bitmap.width = width;
  video->bitmap.height = height;
  Pair ratio = {99, 99};
  vidGetAspectRatio(video.get(), &ratio.first, &ratio.second);
  return ratio;
}

TEST(RateScale, NtscRatesGetAScaleOf1001) {
  EXPECT_EQ(normalized(30000, 1001), Pair(30000, 1001));
  EXPECT_EQ(normalized(24000, 1001), Pair(24000, 1001));
  EXPECT_EQ(normalized(60000, 1001), Pair(60000, 1001));
  EXPECT_EQ(normalized(120000, 1001), Pair(120000, 1001));
  EXPECT_EQ(normalized(15000, 1001), Pair(15000, 1001));
  EXPECT_EQ(normalized(90000, 3003), Pair(30000, 1001));
}

TEST(RateScale, DecimalFormsOfNtscRatesAreRecognised) {
  EXPECT_EQ(normalized(2997, 100), Pair(30000, 1001));
  EXPECT_EQ(normalized(29970, 1000), Pair(30000, 1001));
  EXPECT_EQ(normalized(23976, 1000), Pair(24000, 1001));
  EXPECT_EQ(normalized(2398, 100), Pair(24000, 1001));
  EXPECT_EQ(normalized(5994, 100), Pair(60000, 1001));
  EXPECT_EQ(normalized(11988, 100), Pair(120000, 1001));
  EXPECT_EQ(normalized(47952, 1000), Pair(48000, 1001));
}

TEST(RateScale, OtherRatesAreInThousandths) {
  EXPECT_EQ(normalized(25, 1), Pair(25000, 1000));
  EXPECT_EQ(normalized(24, 1), Pair(24000, 1000));
  EXPECT_EQ(normalized(30, 1), Pair(30000, 1000));
  EXPECT_EQ(normalized(2400, 100), Pair(24000, 1000));
  EXPECT_EQ(normalized(12000, 100), Pair(120000, 1000));
  EXPECT_EQ(normalized(25, 2), Pair(12500, 1000));
  EXPECT_EQ(normalized(2490, 100), Pair(24900, 1000));
  EXPECT_EQ(normalized(1000, 1), Pair(1000000, 1000));
  EXPECT_EQ(normalized(2, 3), Pair(667, 1000));
}

TEST(RateScale, RatesThatCannotBeConvertedAreKept) {
  EXPECT_EQ(normalized(0, 1), Pair(0, 1));
  EXPECT_EQ(normalized(25, 0), Pair(25, 0));
  EXPECT_EQ(normalized(1, 3000), Pair(1, 3000));
  constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(normalized(kMax, 1), Pair(kMax, 1));
  EXPECT_EQ(normalized(kMax, kMax), Pair(1000, 1000));
  std::uint32_t rate = 25;
  vidNormalizeRateScale(&rate, nullptr);
  vidNormalizeRateScale(nullptr, &rate);
  EXPECT_EQ(rate, 25u);
}

TEST(Aspect, IsWidthToHeightReduced) {
  EXPECT_EQ(aspect(1920, 1080), Pair(16, 9));
  EXPECT_EQ(aspect(720, 480), Pair(3, 2));
  EXPECT_EQ(aspect(720, -480), Pair(3, 2));
  EXPECT_EQ(aspect(1, std::numeric_limits<std::int32_t>::min()), Pair(1, 2147483648u));
}

TEST(Aspect, IsZeroWithoutAVideo) {
  EXPECT_EQ(aspect(0, 480), Pair(0, 0));
  EXPECT_EQ(aspect(-720, 480), Pair(0, 0));
  EXPECT_EQ(aspect(720, 0), Pair(0, 0));
  std::uint32_t x = 1;
  vidGetAspectRatio(nullptr, &x, nullptr);
  EXPECT_EQ(x, 0u);
}

TEST(Channels, AreCountedAndFoundFromTheLowestBit) {
  EXPECT_EQ(totalChannels(0), 0u);
  EXPECT_EQ(totalChannels(0x3F), 6u);
  EXPECT_EQ(totalChannels(0xFFFFFFFFu), 32u);
  EXPECT_EQ(findChannel(1), 0u);
  EXPECT_EQ(findChannel(0x30), 4u);
  EXPECT_EQ(findChannel(0x80000000u), 31u);
  EXPECT_EQ(findChannel(0), 0xFFFFFFFFu);
}

TEST(InfoRecord, IsKeptByItsOwnerUntilDeleted) {
  const int first = 0;
  const int second = 0;
  QVRINFO info = {};
  info.startTimecode = 11;
  EXPECT_EQ(qvrInfoSet(&first, &info), VL_OK);
  info.startTimecode = 22;
  EXPECT_EQ(qvrInfoSet(&second, &info), VL_OK);
  info.startTimecode = 33;
  EXPECT_EQ(qvrInfoSet(&second, &info), VL_OK);

  QVRINFO found = {};
  EXPECT_EQ(qvrInfoGet(&first, &found), VL_OK);
  EXPECT_EQ(found.startTimecode, 11u);
  EXPECT_EQ(qvrInfoGet(&second, &found), VL_OK);
  EXPECT_EQ(found.startTimecode, 33u);
  EXPECT_EQ(qvrInfoDelete(&second), VL_OK);
  EXPECT_EQ(qvrInfoGet(&second, &found), VL_FAILED);
  EXPECT_EQ(qvrInfoGet(&first, &found), VL_OK);
  EXPECT_EQ(qvrInfoDelete(&first), VL_OK);
  EXPECT_EQ(qvrInfoDelete(&first), VL_OK);
}

TEST(InfoRecord, NullArgumentsFail) {
  QVRINFO info = {};
  EXPECT_EQ(qvrInfoSet(nullptr, &info), VL_FAILED);
  EXPECT_EQ(qvrInfoSet(&info, nullptr), VL_FAILED);
  EXPECT_EQ(qvrInfoGet(nullptr, &info), VL_FAILED);
  EXPECT_EQ(qvrInfoGet(&info, nullptr), VL_FAILED);
}

TEST(InfoRecord, ThreadsUseTheirOwnRecordsConcurrently) {
  std::vector<std::thread> threads;
  for (std::uint32_t number = 0; number < 4; ++number) {
    threads.emplace_back([number] {
      QVRINFO info = {};
      for (int i = 0; i < 200; ++i) {
        info.startTimecode = number;
        EXPECT_EQ(qvrInfoSet(&info, &info), VL_OK);
        EXPECT_EQ(qvrInfoGet(&info, &info), VL_OK);
        EXPECT_EQ(info.startTimecode, number);
        EXPECT_EQ(qvrInfoDelete(&info), VL_OK);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(CodecUtility, CompressedAudioIsRecognisedByItsCode) {
  for (const std::uint32_t code : {0x6D703461u, 0x61616320u, 0x61632D33u, 0x65616333u, 0x65632D33u,
                                   0x2E6D7031u, 0x2E6D7032u, 0x2E6D7033u}) {
    EXPECT_EQ(fccIsCompressedAudio(code), 1) << std::hex << code;
  }
  EXPECT_EQ(fccIsCompressedAudio(0), 0);
  EXPECT_EQ(fccIsCompressedAudio(1), 0);
  EXPECT_EQ(fccIsCompressedAudio(0x61766331u), 0);
  EXPECT_EQ(fccIsCompressedAudio(0x6134706Du), 0);
}

TEST(CodecUtility, DriveFlagsFollowTheCompression) {
  const auto video = std::make_unique<QVRVIDEO>();
  video->flags = 0x02000000u;
  EXPECT_EQ(fccGetDrFlagsVideo(video.get()), 0x02000000u);
  video->bitmap.compression = 0x31637661u;
  EXPECT_EQ(fccGetDrFlagsVideo(video.get()), 0x02000001u);
  video->flags = 0x02000001u;
  video->bitmap.compression = 0;
  EXPECT_EQ(fccGetDrFlagsVideo(video.get()), 0x02000000u);
  EXPECT_EQ(fccGetDrFlagsVideo(nullptr), 0u);
}

TEST(RateScale, AQuarterOfTheNtscDistanceIsItsLimit) {
  EXPECT_EQ(normalized(60015, 2002), Pair(30000, 1001));
  EXPECT_EQ(normalized(60016, 2002), Pair(29978, 1000));
  EXPECT_EQ(normalized(2797, 100), Pair(27970, 1000)) << "28 frames a second are no video rate";
}

}  // namespace

}  // namespace fmp4
