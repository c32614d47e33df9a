// The host's log, kept while a test examines it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vlhost.h"

namespace fmp4 {

struct LogLine {
  std::uint32_t level;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

// The line with which the plug-in reports an error.
inline LogLine pluginError(const std::string& text) {
  return {VL_LOG_ERROR, "ERROR(vlx_fmp4): " + text + "\n"};
}

// Captures every line of the host's log until it goes out of scope. One at a time.
class LogCapture {
 public:
  LogCapture() {
    vlSetLogSink(
        [](void* self, std::uint32_t level, const char* text) {
          static_cast<LogCapture*>(self)->lines.push_back({level, text});
        },
        this);
  }
  ~LogCapture() { vlSetLogSink(nullptr, nullptr); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> lines;
};

}  // namespace fmp4
