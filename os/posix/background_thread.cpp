#include "os/background_thread.h"

#include <sys/resource.h>

namespace fmp4::os {

// Linux counts threads as processes here. Elsewhere the whole process would make room for others.
void runInBackground() {
#ifdef __linux__
  constexpr int kNiceness = 10;  // of 19: a tenth of what others get
  if (getpriority(PRIO_PROCESS, 0) < kNiceness)
    static_cast<void>(setpriority(PRIO_PROCESS, 0, kNiceness));  // it is only faster otherwise
#endif
}

}  // namespace fmp4::os
