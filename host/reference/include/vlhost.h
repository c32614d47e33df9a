// What this host library has beyond the interfaces of a host, for the programs that use it as one. No plug-in
// may need any of it.
#pragma once

#include "qvr.h"
#include "vlutil.h"

// Levels under which a sink sees the lines that carry none of their own.
inline constexpr std::uint32_t VL_LOG_PLAIN = 1;   // ErrOut
inline constexpr std::uint32_t VL_LOG_RESULT = 2;  // ErrMsgOut

// Receives every line of the host's log. `text` is the formatted line as the caller wrote it, its line
// ends included. Called on the thread that logs; must not log itself.
using VLLOGSINK = void (*)(void* context, std::uint32_t level, const char* text);

extern "C" {

// Sends every later line to `sink` instead of standard error; null restores standard error. The sink
// serves all threads; lines are handed over one at a time. Once this returns, the former sink is not called
// any more.
VLHOST_API void vlSetLogSink(VLLOGSINK sink, void* context);

// Copies out the record that qvrInfoSet keeps for `owner`. Returns 0, or VL_FAILED when there is none.
VLHOST_API std::uint32_t qvrInfoGet(const void* owner, QVRINFO* info);

}  // extern "C"
