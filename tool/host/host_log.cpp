#include "tool/host/host_log.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <set>
#include <string_view>

#include "vlhost.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

struct Log {
  std::mutex mutex;
  LogLines lines = LogLines::All;
  std::set<std::string> statusLines;  // shown
  std::string lastError;
  std::string file;  // that the plug-in works on
  int writeError = 0;
};

// Never destroyed: libraries that are unloaded at exit still have lines to log.
Log& theLog() {
  static Log& log = *new Log;
  return log;
}

thread_local HeldLog* heldLog = nullptr;  // the innermost of this thread

// The text in "ERROR(vlx_fmp4): text\n".
std::string_view wordsOf(std::string_view line) {
  constexpr std::string_view kPrefixEnd = "): ";
  const std::size_t prefix = line.find(kPrefixEnd);
  if (prefix != line.npos) line.remove_prefix(prefix + kPrefixEnd.size());
  return line.substr(0, line.find_last_not_of('\n') + 1);
}

// The number in "fmp4 file_write failure, error: 28", with which streams report a failed write; 0 in other
// lines.
int writeErrorIn(std::string_view line) {
  constexpr std::string_view kStart = "fmp4 file_write failure, error: ";
  int number = 0;
  if (line.starts_with(kStart))
    std::from_chars(line.data() + kStart.size(), line.data() + line.size(), number);
  return number;
}

// Status lines, such as those about optional libraries, repeat with each track that is opened.
bool isShown(Log& log, std::uint32_t level, std::string_view line) {
  if (log.lines == LogLines::None) return false;
  const bool status = level == VL_LOG_STATUS || level == VL_LOG_PLAIN;
  return !status || (log.lines == LogLines::All && log.statusLines.emplace(line).second);
}

void takeLine(void* context, std::uint32_t level, const char* text) {
  if (heldLog) {
    if (level == VL_LOG_ERROR) heldLog->take(wordsOf(text));
    return;
  }
  auto& log = *static_cast<Log*>(context);
  const std::lock_guard<std::mutex> lock(log.mutex);
  const std::string_view line(text);
  if (level == VL_LOG_ERROR) log.lastError = wordsOf(line);
  if (const int error = writeErrorIn(line); error != 0) log.writeError = error;
  if (!isShown(log, level, line)) return;
  const bool named = level != VL_LOG_STATUS && !log.file.empty();
  // Plain lines come without a line end.
  std::fprintf(stderr, "%s%s%s%s", named ? log.file.c_str() : "", named ? ": " : "", text,
               line.ends_with('\n') ? "" : "\n");
}

}  // namespace

HeldLog::HeldLog() : outer_(heldLog) {
  heldLog = this;
}

HeldLog::~HeldLog() {
  heldLog = outer_;
}

void takeHostLog(LogLines lines) {
  Log& log = theLog();
  log.lines = lines;
  vlSetLogSink(takeLine, &log);
}

void nameInLog(const std::string& file) {
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  log.file = file;
}

std::error_code lastWriteError() {
  Log& log = theLog();
  const std::lock_guard<std::mutex> lock(log.mutex);
  return {log.writeError, std::system_category()};
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
  log.writeError = 0;
}

}  // namespace fmp4
