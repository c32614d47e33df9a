#include <mutex>
#include <new>

#include "vlutil.h"

namespace {

std::recursive_mutex* mutexOf(VLCRITICALSECTION* section) {
  return section == nullptr ? nullptr : static_cast<std::recursive_mutex*>(section->opaque);
}

}  // namespace

void vlOSInitializeCriticalSection(VLCRITICALSECTION* section) {
  if (section != nullptr) section->opaque = new (std::nothrow) std::recursive_mutex;
}

void vlOSEnterCriticalSection(VLCRITICALSECTION* section) {
  if (std::recursive_mutex* mutex = mutexOf(section)) mutex->lock();
}

void vlOSLeaveCriticalSection(VLCRITICALSECTION* section) {
  if (std::recursive_mutex* mutex = mutexOf(section)) mutex->unlock();
}

std::int32_t vlOSTryEnterCriticalSection(VLCRITICALSECTION* section) {
  std::recursive_mutex* mutex = mutexOf(section);
  return mutex != nullptr && mutex->try_lock() ? 1 : 0;
}

void vlOSDeleteCriticalSection(VLCRITICALSECTION* section) {
  delete mutexOf(section);
  if (section != nullptr) section->opaque = nullptr;
}
