#include <windows.h>

#include <new>

#include "vlutil.h"

namespace {

CRITICAL_SECTION* systemSection(VLCRITICALSECTION* section) {
  return section == nullptr ? nullptr : static_cast<CRITICAL_SECTION*>(section->opaque);
}

}  // namespace

void vlOSInitializeCriticalSection(VLCRITICALSECTION* section) {
  if (section == nullptr) return;
  auto* const critical = new (std::nothrow) CRITICAL_SECTION;
  if (critical != nullptr) InitializeCriticalSection(critical);
  section->opaque = critical;
}

void vlOSEnterCriticalSection(VLCRITICALSECTION* section) {
  if (CRITICAL_SECTION* critical = systemSection(section)) EnterCriticalSection(critical);
}

void vlOSLeaveCriticalSection(VLCRITICALSECTION* section) {
  if (CRITICAL_SECTION* critical = systemSection(section)) LeaveCriticalSection(critical);
}
