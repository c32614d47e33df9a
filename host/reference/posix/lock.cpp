#include <atomic>
#include <mutex>
#include <new>

#include "vlutil.h"

namespace {

struct Lock {
  std::recursive_mutex mutex;
  Lock* previous = nullptr;
};

// All locks. They live as long as the process, longer than a library that created one and was unloaded.
std::atomic<Lock*> latest = nullptr;

std::recursive_mutex* mutexOf(VLCRITICALSECTION* section) {
  if (section == nullptr || section->opaque == nullptr) return nullptr;
  return &static_cast<Lock*>(section->opaque)->mutex;
}

}  // namespace

void vlOSInitializeCriticalSection(VLCRITICALSECTION* section) {
  if (section == nullptr) return;
  auto* const lock = new (std::nothrow) Lock;
  if (lock != nullptr) lock->previous = latest.exchange(lock);
  section->opaque = lock;
}

void vlOSEnterCriticalSection(VLCRITICALSECTION* section) {
  if (std::recursive_mutex* mutex = mutexOf(section)) mutex->lock();
}

void vlOSLeaveCriticalSection(VLCRITICALSECTION* section) {
  if (std::recursive_mutex* mutex = mutexOf(section)) mutex->unlock();
}
