// What the layer between the program under test and its system asks and says at each call: see fault_host.h.
#pragma once

#include <cstdint>
#include <string>

#include "tests/support/fault_host.h"
#include "vlutil.h"

namespace fmp4 {

// What becomes of a call that is to write so many bytes.
struct Verdict {
  bool fails = false;
  std::uint64_t bytes = 0;  // of a failing write: those written
  bool kills = false;       // after those bytes
};

// Counts a call and judges it.
Verdict judgeCall(HostCallKind kind, std::uint64_t bytes = 0);
// Counts a sync to disk.
void countWait(HostCallKind kind);
// Tells the observer of a call that succeeded.
void reportCall(HostCallKind kind, const std::string& path, std::uint64_t offset = 0, std::uint64_t bytes = 0,
                std::string content = {});
// Ends the process as no program can prevent.
[[noreturn]] void dieNow();
// All bytes of a file.
std::string contentOf(const std::string& path);

// The host's calls with the plan applied; `create` and `write` are the host's own.
VLHANDLE createWatched(decltype(vlOSCreateFile)* create, const char* path, std::uint32_t access,
                       std::uint32_t share, void* security, std::uint32_t disposition,
                       std::uint32_t attributes, VLHANDLE templateFile);
std::int32_t writeJudged(decltype(vlOSWriteFile)* write, VLHANDLE file, const void* buffer,
                         std::uint32_t count, std::uint32_t* done);

}  // namespace fmp4
