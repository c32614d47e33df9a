// A layer between the program under test and its host library and system. It makes calls that write fail,
// write too little, find the disk full, or kill the process; and it records them.
//
// In a program that links it, every call of vlOSWriteFile, every sync of a file's data or of a name to disk,
// every renaming of a file to replace another, every flush of a C stream except the standard ones, and every
// truncation of a file goes through here, whichever library makes it. No call waits for the disk itself.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace fmp4 {

enum class HostCallKind {
  Write,
  Flush,      // waits for the data of a file that is written in place
  FlushNew,   // waits for a file that is to replace another
  FlushName,  // waits for the names in a folder
  Replace,
  FlushStream,
  Cut
};

struct HostCall {
  HostCallKind kind;
  std::string path;          // of all but FlushStream; of Replace: the file that is replaced
  std::uint64_t offset = 0;  // of Write: where in the file; of Cut: what stays
  std::uint64_t bytes = 0;   // of Write
  std::string content;       // of FlushNew and Replace
};

enum class Fault {
  None,
  Fail,      // the call does nothing and fails
  Short,     // half of the bytes are written, and the call fails; other calls do nothing and fail
  DiskFull,  // from this call on the disk is full: half of the first is written, nothing of the others
  Kill,      // the process receives SIGKILL
};

struct FaultPlan {
  Fault fault = Fault::None;
  // The call at which it happens, counted from 1. For Kill it counts steps instead: one for every call and
  // one for every byte to be written; the process ends after that byte.
  std::uint64_t at = 0;
};

// Starts counting from 0 with this plan.
void setFaults(FaultPlan plan);
// Calls and steps since then.
std::uint64_t hostCalls();
std::uint64_t hostSteps();
// The kind of the call that failed first; only after one did.
HostCallKind faultedKind();
bool faultHappened();

// From here on the host writes at most so many bytes per call, and reports success; 0: all of them.
void limitHostWrites(std::uint32_t bytes);

// The syncs to disk since setFaults: those of data, and those of names and of files that replace others.
struct DiskWaits {
  std::uint64_t data = 0;
  std::uint64_t replacements = 0;
  std::uint64_t names = 0;
};
DiskWaits diskWaits();

// Receives every call after it has succeeded; empty: no observer.
void observeHostCalls(std::function<void(const HostCall&)> observer);

}  // namespace fmp4
