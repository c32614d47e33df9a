// Threads whose work can wait.
#pragma once

namespace fmp4::os {

// From now on the calling thread runs where others do not need the processor; on Linux those that it starts
// later do too. Does nothing where the system has no such threads.
void runInBackground();

}  // namespace fmp4::os
