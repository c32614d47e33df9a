#include "audio/umc/base_codec.h"

#include <gtest/gtest.h>

#include "audio/umc/default_memory_allocator.h"

namespace fmp4 {

namespace {

using namespace UMC;

TEST(BaseCodec, DoesNotProvideWhatCodecsAdd) {
  BaseCodec codec;
  AudioCodecParams params;
  MediaData data;
  EXPECT_EQ(-878, codec.GetFrame(&data, &data));
  EXPECT_EQ(-878, codec.GetInfo(&params));
  EXPECT_EQ(-878, codec.Close());
  EXPECT_EQ(-878, codec.Reset());
  EXPECT_EQ(-878, codec.SetParams(&params));
  EXPECT_EQ(0, codec.SetTrickPlayMode(1));
}

TEST(BaseCodec, CreatesItsOwnAllocator) {
  AudioCodec codec;
  BaseCodecParams params;
  EXPECT_EQ(nullptr, codec.LockMemory(1));
  EXPECT_EQ(-998, codec.UnlockMemory(1));
  EXPECT_EQ(-998, codec.FreeMemory(1));
  EXPECT_EQ(0, codec.Init(&params));
  EXPECT_EQ(-999, codec.UnlockMemory(1));
  EXPECT_EQ(-999, codec.FreeMemory(1));
}

TEST(BaseCodec, NeedsNoParameters) {
  AudioCodec codec;
  EXPECT_EQ(0, codec.Init(nullptr));
  EXPECT_EQ(-999, codec.UnlockMemory(1)) << "its allocator exists";
}

// An allocator of earlier parameters may be gone when Init is called again.
TEST(BaseCodec, DoesNotKeepABorrowedAllocatorBeyondTheNextInit) {
  AudioCodec codec;
  BaseCodecParams params;
  DefaultMemoryAllocator allocator;
  MemoryId id = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 16, 0, 16));
  params.m_allocator = &allocator;
  ASSERT_EQ(0, codec.Init(&params));
  ASSERT_NE(nullptr, codec.LockMemory(id));
  params.m_allocator = nullptr;
  ASSERT_EQ(0, codec.Init(&params));
  EXPECT_EQ(nullptr, codec.LockMemory(id)) << "it has its own one now";
}

TEST(BaseCodec, ReturnsToTheAllocatorThatWasSet) {
  AudioCodec codec;
  BaseCodecParams params;
  DefaultMemoryAllocator set, borrowed;
  MemoryId id = 0;
  ASSERT_EQ(0, set.Alloc(&id, 16, 0, 16));
  ASSERT_EQ(0, codec.SetMemoryAllocator(&set));
  params.m_allocator = &borrowed;
  ASSERT_EQ(0, codec.Init(&params));
  EXPECT_EQ(nullptr, codec.LockMemory(id));
  params.m_allocator = nullptr;
  ASSERT_EQ(0, codec.Init(&params));
  EXPECT_NE(nullptr, codec.LockMemory(id));
}

TEST(BaseCodec, UsesTheAllocatorOfTheParameters) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 16, 0, 16));
  AudioCodec codec;
  BaseCodecParams params;
  params.m_allocator = &allocator;
  ASSERT_EQ(0, codec.Init(&params));
  void* memory = codec.LockMemory(id);
  EXPECT_EQ(memory, allocator.Lock(id));
  EXPECT_EQ(0, codec.UnlockMemory(id));
  EXPECT_EQ(0, codec.UnlockMemory(id));
  EXPECT_EQ(0, codec.FreeMemory(id));
  EXPECT_EQ(nullptr, allocator.Lock(id));
}

TEST(BaseCodec, UsesTheAllocatorThatWasSet) {
  DefaultMemoryAllocator allocator, other;
  MemoryId id = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 16, 0, 16));
  AudioCodec codec;
  EXPECT_EQ(-995, codec.SetMemoryAllocator(nullptr));
  EXPECT_EQ(0, codec.SetMemoryAllocator(&allocator));
  EXPECT_EQ(0, codec.SetMemoryAllocator(&allocator));
  EXPECT_EQ(-999, codec.SetMemoryAllocator(&other));
  BaseCodecParams params;
  ASSERT_EQ(0, codec.Init(&params));
  EXPECT_NE(nullptr, codec.LockMemory(id));
}

}  // namespace

}  // namespace fmp4
