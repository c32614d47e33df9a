#include "audio/umc/media_data.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#include "audio/umc/audio_data.h"

namespace fmp4 {

namespace {

using UMC::MediaData;

double StartOf(const MediaData& data) {
  double start = 0, end = 0;
  EXPECT_EQ(0, data.GetTime(&start, &end));
  return start;
}
double EndOf(const MediaData& data) {
  double start = 0, end = 0;
  EXPECT_EQ(0, data.GetTime(&start, &end));
  return end;
}

TEST(MediaData, IsEmptyAtFirst) {
  MediaData data;
  EXPECT_EQ(nullptr, data.GetBufferPointer());
  EXPECT_EQ(nullptr, data.GetDataPointer());
  EXPECT_EQ(0u, data.GetBufferSize());
  EXPECT_EQ(0u, data.GetDataSize());
  EXPECT_EQ(-1.0, data.GetTime());
  EXPECT_EQ(-1.0, StartOf(data));
  EXPECT_EQ(-1.0, EndOf(data));
  double time = 0;
  EXPECT_EQ(-995, data.GetTime(nullptr, &time));
  EXPECT_EQ(-995, data.GetTime(&time, nullptr));
}

TEST(MediaData, AllocatesItsOwnBuffer) {
  MediaData data(16);
  ASSERT_NE(nullptr, data.GetBufferPointer());
  EXPECT_EQ(data.GetBufferPointer(), data.GetDataPointer());
  EXPECT_EQ(16u, data.GetBufferSize());
  EXPECT_EQ(0u, data.GetDataSize());
  EXPECT_EQ(0, data.SetDataSize(16));
}

TEST(MediaData, DescribesBorrowedMemory) {
  MediaData data(16);
  std::uint8_t bytes[8];
  EXPECT_EQ(0, data.SetBufferPointer(bytes, sizeof bytes));
  EXPECT_EQ(bytes, data.GetBufferPointer());
  EXPECT_EQ(bytes, data.GetDataPointer());
  EXPECT_EQ(8u, data.GetBufferSize());
  EXPECT_EQ(0u, data.GetDataSize());
}

TEST(MediaData, RejectsDataBeyondTheBuffer) {
  MediaData data;
  EXPECT_EQ(-995, data.SetDataSize(0));
  std::uint8_t bytes[8];
  data.SetBufferPointer(bytes, sizeof bytes);
  EXPECT_EQ(0, data.SetDataSize(8));
  EXPECT_EQ(0, data.MoveDataPointer(3));
  EXPECT_EQ(-999, data.SetDataSize(6));
  EXPECT_EQ(5u, data.GetDataSize());
  EXPECT_EQ(bytes + 3, data.GetDataPointer());
  EXPECT_EQ(0, data.SetDataSize(4));
  EXPECT_EQ(4u, data.GetDataSize());
}

TEST(MediaData, MovesTheDataPointerBothWaysWithinItsBounds) {
  std::uint8_t bytes[8];
  MediaData data;
  data.SetBufferPointer(bytes, sizeof bytes);
  data.SetDataSize(6);
  EXPECT_EQ(-999, data.MoveDataPointer(7));
  EXPECT_EQ(-999, data.MoveDataPointer(-1));
  EXPECT_EQ(0, data.MoveDataPointer(6));
  EXPECT_EQ(0u, data.GetDataSize());
  EXPECT_EQ(-999, data.MoveDataPointer(-7));
  EXPECT_EQ(-999, data.MoveDataPointer(std::numeric_limits<std::ptrdiff_t>::min()));
  EXPECT_EQ(0, data.MoveDataPointer(-6));
  EXPECT_EQ(6u, data.GetDataSize());
  EXPECT_EQ(bytes, data.GetDataPointer());
}

TEST(MediaData, ResetKeepsTheBufferAndCloseReleasesIt) {
  std::uint8_t bytes[8];
  MediaData data;
  data.SetBufferPointer(bytes, sizeof bytes);
  data.SetDataSize(8);
  data.MoveDataPointer(2);
  EXPECT_EQ(0, data.SetTime(1.5, 2.5));
  EXPECT_EQ(1.5, data.GetTime());
  EXPECT_EQ(0, data.Reset());
  EXPECT_EQ(bytes, data.GetDataPointer());
  EXPECT_EQ(8u, data.GetBufferSize());
  EXPECT_EQ(0u, data.GetDataSize());
  EXPECT_EQ(-1.0, StartOf(data));
  EXPECT_EQ(-1.0, EndOf(data));
  EXPECT_EQ(0, data.Close());
  EXPECT_EQ(nullptr, data.GetBufferPointer());
  EXPECT_EQ(nullptr, data.GetDataPointer());
  EXPECT_EQ(0u, data.GetBufferSize());

  MediaData own(8);
  EXPECT_EQ(0, own.Close());
  EXPECT_EQ(nullptr, own.GetBufferPointer());
}

TEST(MediaData, MovesDataToAnotherUpToItsCapacity) {
  std::vector<std::uint8_t> from(10), to(12, 0);
  std::iota(from.begin(), from.end(), std::uint8_t{1});
  MediaData source, target;
  EXPECT_EQ(-998, source.MoveDataTo(&target));
  source.SetBufferPointer(from.data(), from.size());
  EXPECT_EQ(-998, source.MoveDataTo(&target));
  source.SetDataSize(10);
  source.SetTime(3, 4);
  EXPECT_EQ(-995, source.MoveDataTo(nullptr));
  EXPECT_EQ(-995, source.MoveDataTo(&target));

  target.SetBufferPointer(to.data(), to.size());
  target.SetDataSize(5);
  target.MoveDataPointer(3);  // two bytes of data, space for seven after them
  EXPECT_EQ(0, source.MoveDataTo(&target));
  EXPECT_EQ(9u, target.GetDataSize());
  EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7}), to);
  EXPECT_EQ(3u, source.GetDataSize());
  EXPECT_EQ(from.data() + 7, source.GetDataPointer());
  EXPECT_EQ(3.0, StartOf(target));
  EXPECT_EQ(4.0, EndOf(target));
  EXPECT_EQ(0, source.MoveDataTo(&target));
  EXPECT_EQ(3u, source.GetDataSize());
}

TEST(MediaData, AssignmentSharesTheBytesButNeverOwnsThem) {
  MediaData owner(8);
  owner.SetDataSize(5);
  owner.MoveDataPointer(1);
  owner.SetTime(1, 2);
  {
    MediaData copy(4);
    copy = owner;
    EXPECT_EQ(owner.GetBufferPointer(), copy.GetBufferPointer());
    EXPECT_EQ(owner.GetDataPointer(), copy.GetDataPointer());
    EXPECT_EQ(8u, copy.GetBufferSize());
    EXPECT_EQ(4u, copy.GetDataSize());
    EXPECT_EQ(1.0, StartOf(copy));
    EXPECT_EQ(2.0, EndOf(copy));
  }
  static_cast<std::uint8_t*>(owner.GetBufferPointer())[7] = 1;  // still allocated
  const MediaData& self = owner;
  owner = self;
  EXPECT_EQ(8u, owner.GetBufferSize());
  static_cast<std::uint8_t*>(owner.GetBufferPointer())[7] = 2;
}

// A view of its bytes, advanced, hands its position back to the owner.
TEST(MediaData, TakesItsOwnBytesBackFromAView) {
  MediaData view;
  {
    MediaData owner(8);
    owner.SetDataSize(8);
    view = owner;
    view.MoveDataPointer(3);
    owner = view;
    EXPECT_EQ(5u, owner.GetDataSize());
    static_cast<std::uint8_t*>(owner.GetDataPointer())[4] = 1;  // still allocated
    // Also a view that begins inside.
    MediaData inside;
    inside.SetBufferPointer(static_cast<std::uint8_t*>(owner.GetBufferPointer()) + 2, 4);
    owner = inside;
    EXPECT_EQ(4u, owner.GetBufferSize());
    static_cast<std::uint8_t*>(owner.GetBufferPointer())[3] = 2;
  }
  // Other bytes replace those that it owns.
  std::uint8_t others[4];
  MediaData elsewhere, owner(8);
  elsewhere.SetBufferPointer(others, sizeof others);
  owner = elsewhere;
  EXPECT_EQ(others, owner.GetBufferPointer());
}

TEST(MediaData, CopiesItsFieldsWithTheData) {
  std::uint8_t from[4] = {}, to[4];
  MediaData source, target, copy;
  source.SetBufferPointer(from, sizeof from);
  source.SetDataSize(4);
  source.SetFrameType(2);
  source.SetFlags(0x11);
  source.SetInvalid(1);
  copy = source;
  EXPECT_EQ(2u, copy.GetFrameType());
  EXPECT_EQ(0x11u, copy.GetFlags());
  EXPECT_EQ(0u, copy.GetInvalid()) << "is not copied";
  target.SetBufferPointer(to, sizeof to);
  ASSERT_EQ(0, source.MoveDataTo(&target));
  EXPECT_EQ(2u, target.GetFrameType());
  EXPECT_EQ(0x11u, target.GetFlags());
  EXPECT_EQ(0u, target.GetInvalid());
  ASSERT_EQ(0, source.Reset());
  EXPECT_EQ(0u, source.GetFrameType());
  EXPECT_EQ(0u, source.GetFlags());
  EXPECT_EQ(1u, source.GetInvalid());
}

TEST(AudioData, IsMediaDataWithAFormat) {
  UMC::AudioData data(8);
  EXPECT_EQ(8u, data.GetBufferSize());
  EXPECT_EQ(0u, data.m_info.channels);
  EXPECT_EQ(&data, UMC::DynamicCast<MediaData>(&data));
}

}  // namespace

}  // namespace fmp4
