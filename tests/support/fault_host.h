// A layer between the program under test and its host library and system, which lets calls that write fail,
// come up short, find the disk full, or be the last ones of the process; and which notes them.
//
// A program that links it has every call of vlOSWriteFile, every wait for a file's data or for a name to
// reach the disk, every renaming of a file to replace another, every flush of a C stream but the standard
// ones, and every cutting of a file pass here, whichever library makes it. Nobody waits for the disk itself.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

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
  Short,     // half of what was to be written is, and the call fails; other calls do nothing and fail
  DiskFull,  // from this call on nothing more can be written: half of the first, nothing of the others
  Kill,      // the process gets SIGKILL
};

struct FaultPlan {
  Fault fault = Fault::None;
  // The call that it happens at, counted from 1. For Kill in steps instead, of which every call is one and
  // every byte that it is to write one more: the process ends behind that byte.
  std::uint64_t at = 0;
};

// Starts counting from 0 with this plan.
void setFaults(FaultPlan plan);
// Calls and steps since then.
std::uint64_t hostCalls();
std::uint64_t hostSteps();
// The kind of the call that failed first; only behind one that did.
HostCallKind faultedKind();
bool faultHappened();

// From here on the host takes no more than so many bytes in a write, and reports success; 0: all of them.
void limitHostWrites(std::uint32_t bytes);

// The waits for the disk since setFaults: those for data, and those for names and for files that are to
// replace others.
struct DiskWaits {
  std::uint64_t data = 0;
  std::uint64_t replacements = 0;
  std::uint64_t names = 0;
};
DiskWaits diskWaits();

// Gets every call once it has been done and has succeeded; empty: nobody.
void observeHostCalls(std::function<void(const HostCall&)> observer);
