#include "os/background_thread.h"

#include <windows.h>

namespace fmp4::os {

void runInBackground() {
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

}  // namespace fmp4::os
