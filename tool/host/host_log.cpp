#include "tool/host/host_log.h"

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string_view>

#include "vlhost.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

struct Log {
  std::mutex mutex;
  bool quiet = false;
  std::string lastError;
};

Log& theLog() {
  static Log log;
  return log;
}

// The text in "ERROR(vlx_fmp4): text\n".
std::string_view wordsOf(std::string_view line) {
  constexpr std::string_view kPrefixEnd = "): ";
  const std::size_t prefix = line.find(kPrefixEnd);
  if (prefix != line.npos) line.remove_prefix(prefix + kPrefixEnd.size());
  return line.substr(0, line.find_last_not_of('\n') + 1);
}

void takeLine(void* context, std::uint32_t level, const char* text) {
  auto& log = *static_cast<Log*>(context);
  const std::lock_guard<std::mutex> lock(log.mutex);
  const std::string_view line(text);
  if (level == VL_LOG_ERROR) log.lastError = wordsOf(line);
  // Plain lines come without a line end.
  if (!log.quiet) std::fprintf(stderr, "%s%s", text, line.ends_with('\n') ? "" : "\n");
}

}  // namespace

void takeHostLog(bool quiet) {
  Log& log = theLog();
  log.quiet = quiet;
  vlSetLogSink(takeLine, &log);
}

std::string lastLoggedError() {
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  return log.lastError;
}

void forgetLoggedError() {
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  log.lastError.clear();
}

}  // namespace fmp4
