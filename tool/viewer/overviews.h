// The overviews of the files that somebody looks at, read by threads of their own.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tool/host/movie_file.h"
#include "tool/host/plugin_host.h"
#include "tool/viewer/overview.h"
#include "tool/viewer/overview_cache.h"

namespace fmp4 {

class Overviews {
 public:
  static constexpr std::size_t kMaxKept = 4;  // overviews in memory
  static constexpr std::size_t kMaxThreads = 2;
  // A file whose reading took longer than kQuick is not read again before kRest times as long have passed:
  // one that is being recorded changes all the time.
  static constexpr std::chrono::seconds kQuick{1};
  static constexpr int kRest = 20;

  using Time = std::chrono::steady_clock::time_point;

  // `plugin` must outlive the object. `now` is called on several threads.
  Overviews(const Plugin& plugin, OverviewCache cache,
            std::function<Time()> now = std::chrono::steady_clock::now)
      : plugin_(plugin), cache_(std::move(cache)), now_(std::move(now)) {}
  // Stops what is being read.
  ~Overviews();
  Overviews(const Overviews&) = delete;
  Overviews& operator=(const Overviews&) = delete;

  // The overview of a file, which opens as `files`: as far as it has been read. The first request begins to
  // read it; one after the file has changed begins again, once the previous reading has ended and the file
  // has rested. The files that were asked for last are read first. Safe on several threads.
  std::shared_ptr<const Overview> of(const std::string& file, const OpenedFiles& files);

 private:
  struct Job {
    std::string file;
    std::string key;  // of the state of its files
    std::shared_ptr<Overview> overview = std::make_shared<Overview>();
    std::atomic<bool> stopped = false;
    // Guarded by the mutex, as is the list.
    bool taken = false;  // by a thread
    Time restsUntil{};
  };

  void work();
  std::shared_ptr<Job> next();
  void read(Job& job);

  const Plugin& plugin_;
  const OverviewCache cache_;
  const std::function<Time()> now_;
  std::mutex mutex_;
  std::condition_variable wanted_;
  bool ending_ = false;
  std::list<std::shared_ptr<Job>> jobs_;  // those that were asked for last first
  std::vector<std::thread> threads_;
};

// What a file and those that it opens are now: text that changes when one of them does.
std::string overviewKey(const std::string& file, const OpenedFiles& files);

}  // namespace fmp4
