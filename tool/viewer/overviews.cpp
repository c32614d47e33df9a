#include "tool/viewer/overviews.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "os/background_thread.h"
#include "os/path_name.h"
#include "tool/host/host_log.h"
#include "tool/viewer/overview_scan.h"

namespace fmp4 {

std::string overviewKey(const std::string& file, const OpenedFiles& files) {
  std::string key;
  for (const std::string& name : {file, files.media, files.companion}) {
    std::error_code ignored;
    const auto size = std::filesystem::file_size(vlPath(name), ignored);
    const auto modified = std::filesystem::last_write_time(vlPath(name), ignored);
    key +=
        name + '\n' + std::to_string(size) + ' ' + std::to_string(modified.time_since_epoch().count()) + '\n';
  }
  return key;
}

Overviews::~Overviews() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
    for (const auto& job : jobs_) job->stopped = true;
  }
  wanted_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

std::shared_ptr<const Overview> Overviews::of(const std::string& file, const OpenedFiles& files) {
  const std::string key = overviewKey(file, files);
  const std::lock_guard<std::mutex> lock(mutex_);
  auto found =
      std::find_if(jobs_.begin(), jobs_.end(), [&file](const auto& job) { return job->file == file; });
  const bool outdated = found != jobs_.end() && (*found)->key != key &&
                        (*found)->overview->progress().state != Overview::State::Reading &&
                        now_() >= (*found)->restsUntil;
  if (outdated) {
    jobs_.erase(found);
    found = jobs_.end();
  }
  if (found != jobs_.end()) {
    jobs_.splice(jobs_.begin(), jobs_, found);
    return jobs_.front()->overview;
  }
  auto job = std::make_shared<Job>();
  job->file = file;
  job->key = key;
  jobs_.push_front(job);
  if (jobs_.size() > kMaxKept) {
    // Rather one that has been read, which the cache has: who waits for the others would make them begin
    // again.
    const auto isRead = [](const auto& each) {
      return each->overview->progress().state != Overview::State::Reading;
    };
    const auto read = std::find_if(jobs_.rbegin(), jobs_.rend(), isRead);
    const auto left = read == jobs_.rend() ? std::prev(jobs_.end()) : std::prev(read.base());
    (*left)->stopped = true;
    jobs_.erase(left);
  }
  if (threads_.size() < kMaxThreads) threads_.emplace_back([this] { work(); });
  wanted_.notify_one();
  return job->overview;
}

std::shared_ptr<Overviews::Job> Overviews::next() {
  std::unique_lock<std::mutex> lock(mutex_);
  auto waiting = jobs_.end();
  wanted_.wait(lock, [&] {
    waiting = std::find_if(jobs_.begin(), jobs_.end(), [](const auto& job) { return !job->taken; });
    return ending_ || waiting != jobs_.end();
  });
  if (ending_) return nullptr;
  (*waiting)->taken = true;
  return *waiting;
}

void Overviews::work() {
  os::runInBackground();  // requests and the browser beside it come first
  while (const std::shared_ptr<Job> job = next()) {
    const Time started = now_();
    try {
      read(*job);
    } catch (const std::exception& error) {
      job->overview->fail(error.what());
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    const Time ended = now_();
    if (ended - started > kQuick) job->restsUntil = ended + kRest * (ended - started);
  }
}

void Overviews::read(Job& job) {
  const HeldLog log;
  if (auto kept = cache_.load(job.file, job.key)) return job.overview->restore(std::move(*kept));
  {
    const MediaFile file = plugin_.openQuietly(job.file);
    ScanWatch watch;
    watch.stopped = [&job] { return job.stopped.load(); };
    if (!scanOverview(plugin_, *file, job.file, *job.overview, watch)) return;
  }
  // Closed before: who sees that it is complete may remove the file, which Windows refuses for an open one.
  job.overview->complete();
  cache_.store(job.file, job.key, job.overview->finest());
}

}  // namespace fmp4
