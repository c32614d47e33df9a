// Keeps what was made of files until they change.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include "os/path_name.h"

namespace fmp4 {

// Safe on several threads: while one makes the value of a file, others that ask for it wait, and those that
// ask for another file do not.
template <class Value>
class FileCache {
 public:
  // Keeps the values of the `most` files that were asked for last.
  explicit FileCache(std::size_t most) : most_(most) {}

  // The value of a file as it is now; make(), which may throw, is called when there is none yet.
  template <class Make>
  std::shared_ptr<const Value> get(const std::filesystem::path& file, Make make) {
    const std::shared_ptr<Entry> entry = entryOf(vlName(file));
    const std::lock_guard<std::mutex> lock(entry->mutex);
    const Stamp now = stampOf(file);
    if (!entry->value || !(entry->stamp == now)) {
      entry->value.reset();
      entry->value.reset(new Value(make()));  // in place: some values cannot be moved
      entry->stamp = now;
    }
    return entry->value;
  }

 private:
  struct Stamp {
    std::uintmax_t size = 0;
    std::filesystem::file_time_type modified;
    bool operator==(const Stamp&) const = default;
  };
  struct Entry {
    std::mutex mutex;
    Stamp stamp;
    std::shared_ptr<const Value> value;
    std::uint64_t used = 0;  // guarded by the mutex of the cache
  };

  static Stamp stampOf(const std::filesystem::path& file) {
    std::error_code ignored;
    return {std::filesystem::file_size(file, ignored), std::filesystem::last_write_time(file, ignored)};
  }

  std::shared_ptr<Entry> entryOf(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<Entry>& entry = entries_[name];
    if (!entry) entry = std::make_shared<Entry>();
    entry->used = ++uses_;
    std::shared_ptr<Entry> found = entry;
    if (entries_.size() > most_)
      entries_.erase(std::min_element(entries_.begin(), entries_.end(), [](const auto& a, const auto& b) {
        return a.second->used < b.second->used;
      }));
    return found;
  }

  const std::size_t most_;
  std::mutex mutex_;
  std::uint64_t uses_ = 0;
  std::map<std::string, std::shared_ptr<Entry>> entries_;
};

}  // namespace fmp4
