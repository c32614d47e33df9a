// A layer between the program under test and its host library, which lets calls that write fail, come up
// short, find the disk full, or be the last ones of the process; and which notes them.
//
// A program that links it has every call of vlOSWriteFile, vlOSFlushFile and vlOSReplaceFile, every flush of
// a C stream but the standard ones, and every cutting of a file pass here, whichever library makes it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

enum class HostCallKind { Write, Flush, Replace, FlushStream, Cut };

struct HostCall {
  HostCallKind kind;
  std::string path;                // of Write, Flush, Replace and Cut
  std::uint64_t offset = 0;        // of Write: where in the file
  std::uint64_t bytes = 0;         // of Write
  const void* content = nullptr;   // of Replace
  std::uint64_t contentBytes = 0;  // of Replace
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

// Gets every call once it has been done and has succeeded; empty: nobody.
void observeHostCalls(std::function<void(const HostCall&)> observer);
