// Extensions of this host library beyond the host's interfaces, for programs that use it as their host.
// Plug-ins must not use them.
#pragma once

#include "qvr.h"
#include "vlutil.h"

// Levels passed to a sink for lines without a level of their own.
inline constexpr std::uint32_t VL_LOG_PLAIN = 1;   // ErrOut
inline constexpr std::uint32_t VL_LOG_RESULT = 2;  // ErrMsgOut

// Receives every line of the host's log. `text` is the formatted line as the caller wrote it, including line
// ends. Called on the logging thread; must not log itself.
using VLLOGSINK = void (*)(void* context, std::uint32_t level, const char* text);

// Watches the files that a thread opens and reads, whoever does so: plug-ins too. Called on that thread,
// after the fact; must not use files itself, nor throw.
struct VLFILEWATCH {
  void* context;
  // `path` has been opened as `file`, a handle that another file may have had before.
  void (*opened)(void* context, const char* path, VLHANDLE file);
  // `count` bytes have been read from `file` at `offset`.
  void (*read)(void* context, VLHANDLE file, std::uint64_t offset, const void* bytes, std::uint32_t count);
};

extern "C" {

// From now on `watch`, which must live as long, is called for the files of this thread, instead of the one
// before it; null ends that.
VLHOST_API void vlWatchFiles(const VLFILEWATCH* watch);

// Sends all later lines to `sink` instead of standard error; null restores standard error. The sink is shared
// by all threads; calls are serialised. After this returns, the previous sink is not called any more.
VLHOST_API void vlSetLogSink(VLLOGSINK sink, void* context);

// From now on vlCFGSave keeps the values that were set in memory, where they are read back, and writes no
// store. For programs that drive plug-ins without changing the settings of their user.
VLHOST_API void vlKeepConfigUnsaved();

// Copies out the record that qvrInfoSet keeps for `owner`. Returns 0, or VL_FAILED if there is none.
VLHOST_API std::uint32_t qvrInfoGet(const void* owner, QVRINFO* info);

}  // extern "C"
