// Many threads that start their work together.
#pragma once

#include <barrier>
#include <cstdint>
#include <thread>
#include <vector>

namespace fmp4 {

inline constexpr std::uint32_t kThreads = 64;

// Calls work(0) to work(kThreads - 1), each on a thread of its own, none before all threads run. Returns when
// all are done.
template <class Work>
void inThreads(const Work& work) {
  std::barrier start(kThreads);
  std::vector<std::jthread> threads;
  for (std::uint32_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      work(i);
    });
  }
}

}  // namespace fmp4
