#include "audio/umc/shared_object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace fmp4 {

namespace {

using UMC::SharedObject;

TEST(SharedObject, IsRetriedAfterAFailure) {
  SharedObject<int> shared;
  int calls = 0;
  const auto make = [&]() -> std::unique_ptr<const int> {
    return ++calls < 3 ? nullptr : std::make_unique<const int>(42);
  };
  EXPECT_EQ(nullptr, shared.Get(make));
  EXPECT_EQ(nullptr, shared.Get(make));
  const int* made = shared.Get(make);
  ASSERT_NE(nullptr, made);
  EXPECT_EQ(42, *made);
  EXPECT_EQ(made, shared.Get(make));
  EXPECT_EQ(3, calls);
}

TEST(SharedObject, IsMadeOnceForAllThreads) {
  SharedObject<int> shared;
  std::atomic<int> calls{0};
  std::vector<const int*> seen(4);
  std::vector<std::thread> threads;
  for (auto& place : seen) {
    threads.emplace_back([&] { place = shared.Get([&] { return std::make_unique<const int>(++calls); }); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(1, calls);
  EXPECT_EQ(std::vector<const int*>(4, seen[0]), seen);
  EXPECT_EQ(1, *seen[0]);
}

}  // namespace

}  // namespace fmp4
