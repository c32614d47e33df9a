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
