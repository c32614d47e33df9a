#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "audio/umc/default_memory_allocator.h"

namespace fmp4 {

// The address sanitizer stops at requests that no machine can meet unless configured otherwise.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

using UMC::DefaultMemoryAllocator;
using UMC::MemoryId;

TEST(DefaultMemoryAllocator, RejectsBadArguments) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 7;
  EXPECT_EQ(-876, allocator.Alloc(nullptr, 16, 0, 16));
  EXPECT_EQ(-876, allocator.Alloc(&id, 0, 0, 16));
  EXPECT_EQ(0u, id);
  EXPECT_EQ(-876, allocator.Alloc(&id, 16, 0, 0));
  EXPECT_EQ(-876, allocator.Alloc(&id, 16, 0, 3));
  EXPECT_EQ(-876, allocator.Alloc(&id, 16, 0, 2097152));
  EXPECT_EQ(0, allocator.Alloc(&id, 16, 0, 1048576));
  EXPECT_EQ(0, allocator.Alloc(&id, 16, 0, 1));
}

TEST(DefaultMemoryAllocator, ReportsMissingMemory) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 7;
  EXPECT_EQ(-883, allocator.Alloc(&id, std::numeric_limits<std::size_t>::max(), 0, 16));
  EXPECT_EQ(0u, id);
  EXPECT_EQ(-883, allocator.Alloc(&id, std::numeric_limits<std::size_t>::max() / 4, 0, 16));
  EXPECT_EQ(0u, id);
}

TEST(DefaultMemoryAllocator, AlignsEveryBlock) {
  DefaultMemoryAllocator allocator;
  for (std::uint32_t alignment = 1; alignment <= 1048576; alignment *= 2) {
    MemoryId id = 0;
    ASSERT_EQ(0, allocator.Alloc(&id, 100, 0, alignment));
    ASSERT_NE(0u, id);
    void* memory = allocator.Lock(id);
    ASSERT_NE(nullptr, memory);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(memory) % alignment);
    std::memset(memory, 1, 100);
    EXPECT_EQ(0, allocator.Unlock(id));
  }
}

TEST(DefaultMemoryAllocator, KeepsBlocksApartWhileTheTableGrows) {
  DefaultMemoryAllocator allocator;
  std::vector<MemoryId> ids(40);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    ASSERT_EQ(0, allocator.Alloc(&ids[i], 32, 0, 16));
    std::memset(allocator.Lock(ids[i]), static_cast<int>(i), 32);
    allocator.Unlock(ids[i]);
  }
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto* memory = static_cast<const std::uint8_t*>(allocator.Lock(ids[i]));
    EXPECT_EQ(i, memory[0]);
    EXPECT_EQ(i, memory[31]);
  }
}

TEST(DefaultMemoryAllocator, CountsLocks) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 32, 0, 16));
  void* first = allocator.Lock(id);
  EXPECT_EQ(first, allocator.Lock(id));
  EXPECT_EQ(0, allocator.Unlock(id));
  EXPECT_EQ(0, allocator.Unlock(id));
  EXPECT_EQ(-999, allocator.Unlock(id));
}

TEST(DefaultMemoryAllocator, RejectsUnknownIdentifiers) {
  DefaultMemoryAllocator allocator;
  EXPECT_EQ(nullptr, allocator.Lock(0));
  EXPECT_EQ(nullptr, allocator.Lock(5));
  EXPECT_EQ(-999, allocator.Unlock(5));
  EXPECT_EQ(-999, allocator.Free(5));
  EXPECT_EQ(-999, allocator.Free(0));
}

TEST(DefaultMemoryAllocator, ReusesFreedMemoryWhereItIsLargeEnough) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 0, larger = 0, smaller = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 1000, 0, 16));
  void* memory = allocator.Lock(id);
  allocator.Unlock(id);
  EXPECT_EQ(0, allocator.Free(id));
  EXPECT_EQ(nullptr, allocator.Lock(id));
  ASSERT_EQ(0, allocator.Alloc(&larger, 2000, 0, 16));
  EXPECT_NE(memory, allocator.Lock(larger));
  ASSERT_EQ(0, allocator.Alloc(&smaller, 900, 0, 16));
  EXPECT_EQ(memory, allocator.Lock(smaller));
  EXPECT_NE(id, smaller);
}

TEST(DefaultMemoryAllocator, FreesALockedBlockOnceItIsUnlocked) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 0, other = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 1000, 0, 16));
  void* memory = allocator.Lock(id);
  EXPECT_EQ(0, allocator.Free(id));
  std::memset(memory, 1, 1000);
  ASSERT_EQ(0, allocator.Alloc(&other, 1000, 0, 16));
  EXPECT_NE(memory, allocator.Lock(other));
  EXPECT_EQ(0, allocator.Unlock(id));
  EXPECT_EQ(nullptr, allocator.Lock(id));
  ASSERT_EQ(0, allocator.Alloc(&other, 1000, 0, 16));
  EXPECT_EQ(memory, allocator.Lock(other));
}

TEST(DefaultMemoryAllocator, CloseReleasesEverythingAndLeavesItUsable) {
  DefaultMemoryAllocator allocator;
  MemoryId id = 0;
  ASSERT_EQ(0, allocator.Alloc(&id, 1000, 0, 16));
  allocator.Lock(id);
  EXPECT_EQ(0, allocator.Close());
  EXPECT_EQ(nullptr, allocator.Lock(id));
  EXPECT_EQ(0, allocator.Alloc(&id, 1000, 0, 16));
  EXPECT_NE(nullptr, allocator.Lock(id));
}

TEST(DefaultMemoryAllocator, IsThreadSafe) {
  DefaultMemoryAllocator allocator;
  std::vector<int> failures(4, 0);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < failures.size(); ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 500; ++i) {
        MemoryId id = 0;
        if (allocator.Alloc(&id, 64, 0, 16) != 0) ++failures[t];
        auto* memory = static_cast<std::uint8_t*>(allocator.Lock(id));
        std::memset(memory, static_cast<int>(t), 64);
        std::this_thread::yield();
        for (int j = 0; j < 64; ++j) failures[t] += memory[j] != t ? 1 : 0;
        if (allocator.Unlock(id) != 0 || allocator.Free(id) != 0) ++failures[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(4, 0), failures);
}

TEST(Mutex, IsRecursiveForItsHolderOnly) {
  UMC::Mutex mutex;
  {
    UMC::ScopedLock lock(mutex);
    lock.Lock();
    bool taken = true;
    std::thread([&] { taken = mutex.TryLock(); }).join();
    EXPECT_FALSE(taken);
    lock.Unlock();
    std::thread([&] { taken = mutex.TryLock(); }).join();
    EXPECT_FALSE(taken);
    lock.Lock();
  }
  bool taken = false;
  std::thread([&] {
    taken = mutex.TryLock();
    if (taken) mutex.Unlock();
  }).join();
  EXPECT_TRUE(taken);
}

TEST(ScopedLock, DoesNotReleaseMoreThanItTook) {
  UMC::Mutex mutex;
  mutex.Lock();
  {
    UMC::ScopedLock lock(mutex);
    lock.Unlock();
    lock.Unlock();
  }
  bool taken = true;
  std::thread([&] { taken = mutex.TryLock(); }).join();
  EXPECT_FALSE(taken);
  mutex.Unlock();
}

}  // namespace

}  // namespace fmp4
