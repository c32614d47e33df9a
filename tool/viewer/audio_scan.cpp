#include "tool/viewer/audio_scan.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "base/exact_time.h"
#include "base/user_error.h"
#include "tool/host/host_log.h"
#include "tool/viewer/audio_range.h"

namespace fmp4 {

namespace {

// The ranges of the audio, each of which is read by whoever is free, in order.
class AudioRanges {
 public:
  AudioRanges(const Plugin& plugin, const std::string& name, const OverviewStreams& streams,
              const AudioDivision& division)
      : plugin_(plugin), name_(name), streams_(streams), rangeCells_(division.rangeCells) {
    const unsigned processors = std::max(std::thread::hardware_concurrency(), 1u);
    const unsigned readers =
        division.readers != 0 ? division.readers : std::min(processors, AudioDivision::kMostReaders);
    threads_.reserve(readers);
    try {
      for (std::uint64_t i = 1; i < std::min<std::uint64_t>(readers, count()); ++i)
        threads_.emplace_back([this] { work(); });
    } catch (const std::exception&) {
      // The system has no more threads: those that began are enough.
    }
  }
  ~AudioRanges() {
    stopped_ = true;
    for (std::thread& thread : threads_) thread.join();
  }
  AudioRanges(const AudioRanges&) = delete;
  AudioRanges& operator=(const AudioRanges&) = delete;

  // Gives a range, to be asked for in order, and meanwhile reads ranges that nobody reads yet. None when
  // stopped.
  std::optional<AudioRange> get(std::uint64_t range, AudioRangeReader& own,
                                const std::function<bool()>& stopped) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopped()) {
      if (failure_) std::rethrow_exception(failure_);
      if (auto found = read_.extract(range)) return std::move(found.mapped());
      if (taken_ == count()) {
        changed_.wait(lock);
      } else if (!readNext(own, stopped, lock)) {
        break;
      }
    }
    return std::nullopt;
  }

 private:
  std::uint64_t count() const { return (streams_.audioCells() + rangeCells_ - 1) / rangeCells_; }
  // The cell after those of a range.
  std::uint64_t endOf(std::uint64_t range) const {
    return std::min((range + 1) * rangeCells_, streams_.audioCells());
  }

  // Reads the next range that nobody reads yet, without the lock. False when stopped.
  bool readNext(AudioRangeReader& reader, const std::function<bool()>& stopped,
                std::unique_lock<std::mutex>& lock) {
    const std::uint64_t range = taken_++;
    lock.unlock();
    std::optional<AudioRange> cells = reader.read(range * rangeCells_, endOf(range), stopped);
    lock.lock();
    if (cells) read_.emplace(range, std::move(*cells));
    return cells.has_value();
  }

  // The file, once more; null when it is not what it was.
  MediaFile reopened() const {
    try {
      MediaFile file = plugin_.openQuietly(name_);
      const OverviewStreams now = audioStreams(*file);
      const bool same = now.sampleRate == streams_.sampleRate && now.channels == streams_.channels &&
                        now.samples >= streams_.samples;
      return same ? std::move(file) : nullptr;
    } catch (const UserError&) {
      return nullptr;
    }
  }

  // What each further thread does.
  void work() {
    const HeldLog log;
    try {
      if (const MediaFile file = reopened()) readAll(*file);
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      failure_ = std::current_exception();
    }
    changed_.notify_one();
  }
  void readAll(CAMediaFile& file) {
    AudioRangeReader reader(file, streams_);
    const auto stopped = [this] { return stopped_.load(); };
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopped_ && taken_ != count() && readNext(reader, stopped, lock)) changed_.notify_one();
  }

  const Plugin& plugin_;
  const std::string& name_;
  const OverviewStreams& streams_;
  const std::uint64_t rangeCells_;
  std::vector<std::thread> threads_;
  std::atomic<bool> stopped_ = false;

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by the mutex.
  std::uint64_t taken_ = 0;                   // ranges
  std::map<std::uint64_t, AudioRange> read_;  // that nobody asked for yet
  std::exception_ptr failure_;                // of another thread
};

// The faults of the ranges in order: neighbours of one kind are one.
class JoinedFaults {
 public:
  explicit JoinedFaults(Overview& overview) : overview_(overview) {}
  void add(const AudioFault& fault) {
    const bool goesOn = pending_ && pending_->kind == fault.kind && pending_->to == fault.from;
    if (!goesOn) {
      finish();
      pending_ = fault;
      return;
    }
    pending_->to = fault.to;
    pending_->units = saturate<std::uint32_t>(std::uint64_t{pending_->units} + fault.units);
  }
  void finish() {
    if (pending_) overview_.addFault(*pending_);
    pending_.reset();
  }

 private:
  Overview& overview_;
  std::optional<AudioFault> pending_;
};

}  // namespace

bool scanAudio(const Plugin& plugin, CAMediaFile& file, const std::string& name,
               const OverviewStreams& streams, Overview& overview, const ScanWatch& watch,
               const AudioDivision& division) {
  const HeldLog log;  // the overview says what is lost
  AudioRanges ranges(plugin, name, streams, division);
  AudioRangeReader own(file, streams);
  JoinedFaults faults(overview);
  std::uint64_t known = 0;
  for (std::uint64_t range = 0; known < streams.audioCells(); ++range) {
    std::optional<AudioRange> read = ranges.get(range, own, watch.stopped);
    if (!read) return false;
    for (const AudioFault& fault : read->faults) faults.add(fault);
    known += read->cells.front().size();
    if (read->isLast && known < streams.audioCells()) {
      faults.add({AudioFault::Kind::Unread, startOfCell(streams, known), streams.samples, 1});
      for (auto& channel : read->cells) channel.resize(channel.size() + streams.audioCells() - known);
      known = streams.audioCells();
    }
    overview.addAudio(read->cells);
    watch.progress(streams.frames + known, streams.frames + streams.audioCells());
  }
  faults.finish();
  return true;
}

}  // namespace fmp4
