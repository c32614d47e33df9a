#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include "vlhost.h"

namespace {

// One lock for the sink and its lines: lines never interleave, and a replaced sink is not called any more.
struct Log {
  std::mutex mutex;
  VLLOGSINK sink = nullptr;
  void* context = nullptr;
};

Log& theLog() {
  static Log& log = *new Log;
  return log;
}

void deliver(std::uint32_t level, const char* text) {
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  if (log.sink != nullptr) {
    log.sink(log.context, level, text);
  } else {
    // Plain lines carry no line end of their own.
    const std::size_t length = std::strlen(text);
    std::fprintf(stderr, "%s%s", text, length != 0 && text[length - 1] == '\n' ? "" : "\n");
  }
}

// A line that does not fit the first buffer is formatted again at full length; if memory is short, it is
// truncated.
void formatAndDeliver(std::uint32_t level, const char* format, va_list arguments) {
  if (format == nullptr) return;
  char text[1024];
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  if (length < 0) {
    deliver(level, format);
  } else if (static_cast<std::size_t>(length) < sizeof text) {
    deliver(level, text);
  } else {
    try {
      std::string text(static_cast<std::size_t>(length), '\0');
      std::vsnprintf(text.data(), text.size() + 1, format, again);
      deliver(level, text.c_str());
    } catch (const std::bad_alloc&) {
      deliver(level, text);
    }
  }
  va_end(again);
}

}  // namespace

void vlSetLogSink(VLLOGSINK sink, void* context) {
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  log.sink = sink;
  log.context = context;
}

void ErrOut(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  formatAndDeliver(VL_LOG_PLAIN, format, arguments);
  va_end(arguments);
}

void ErrFmtOut(std::uint32_t level, std::uint32_t /*status*/, std::uint32_t /*detail*/, const char* format,
               ...) {
  va_list arguments;
  va_start(arguments, format);
  formatAndDeliver(level, format, arguments);
  va_end(arguments);
}

void ErrMsgOut(std::uint32_t status, const char* operation, std::uint32_t /*detail1*/,
               std::uint32_t /*detail2*/) {
  ErrFmtOut(VL_LOG_RESULT, 0, 0, "%s: 0x%08X\n", operation == nullptr ? "" : operation, status);
}
