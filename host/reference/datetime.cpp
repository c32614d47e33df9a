#include <chrono>
#include <cstdio>
#include <cstring>

#include "vlutil.h"

namespace {

void copyIfFits(char* output, std::size_t size, const char* text) {
  if (output == nullptr || size == 0) return;
  const std::size_t bytes = std::strlen(text) + 1;
  if (bytes <= size) {
    std::memcpy(output, text, bytes);
  } else {
    output[0] = '\0';
  }
}

}  // namespace

void vlOSGetDateTimeString(char* date, std::size_t dateSize, char* time, std::size_t timeSize) {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto midnight = floor<days>(now);
  const year_month_day day(midnight);
  const hh_mm_ss clock(now - midnight);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(day.year()),
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
  copyIfFits(date, dateSize, text);
  std::snprintf(text, sizeof text, "T%02d:%02d:%02d.%03dZ", static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  copyIfFits(time, timeSize, text);
}
