// A layer between the program under test and its host library and system, in which one call of a kind fails.
//
// In a program that links it, the calls of the kinds below go through here, whichever of ours makes them: the
// plug-in, the host library or the program itself. No call waits for the disk itself.
#pragma once

#include <cstdint>

#include "tests/support/controlled_new.h"

namespace fmp4 {

enum class CallKind {
  Open,     // of a file by the host
  Read,     // by the host, or of a C descriptor
  Write,    // likewise
  Seek,     // by the host
  Size,     // of a file, by the host
  Flush,    // of a file or a folder, to the disk
  Replace,  // of a file by another
  Cut,      // of a file
  Stream,   // the flush of a C stream
  Library,  // loading one
  Clock     // goes back a day instead of failing
};

// While one is alive, the call number `n`, from 1, of a kind fails, and optionally all of that kind after it.
// One at a time.
class FailingCall {
 public:
  FailingCall(CallKind kind, std::uint64_t n, Failures failures = Failures::One);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  // Whether the call was made.
  bool met() const;
};

}  // namespace fmp4
