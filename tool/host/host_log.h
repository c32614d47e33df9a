// The host's log, as this program shows it.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace fmp4 {

enum class LogLines {
  None,
  Troubles,  // errors, warnings and cautions
  All,       // status lines too, each once
};

// Takes over the host's log until the program ends. The chosen lines go to standard error.
void takeHostLog(LogLines lines);

// The file that the plug-in works on from now on: its errors and warnings are shown with the name.
void nameInLog(const std::string& file);

// The system's reason of the last write that the log says failed; none when none did since the log was taken
// over or forgetLoggedError() was called.
std::error_code lastWriteError();

// The text of the last error that the plug-in logged, without prefix and line end; empty when there was none
// since the log was taken over or forgetLoggedError() was called.
std::string lastLoggedError();
void forgetLoggedError();

// Keeps what the plug-in logs on this thread from being shown, while it lives: for files that nobody named on
// the command line.
class HeldLog {
 public:
  HeldLog();
  ~HeldLog();
  HeldLog(const HeldLog&) = delete;
  HeldLog& operator=(const HeldLog&) = delete;

  // The text of the last error on this thread, as lastLoggedError() gives it.
  const std::string& lastError() const { return lastError_; }
  // Called with the text of each error.
  void take(std::string_view text) { lastError_ = text; }

 private:
  HeldLog* outer_;
  std::string lastError_;
};

}  // namespace fmp4
