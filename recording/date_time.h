// The current time, as manifests and playlists state it.
#pragma once

#include <string>

#include "vlutil.h"

namespace fmp4 {

// ISO 8601: "2016-09-21T08:15:30.250Z".
inline std::string dateTimeNow() {
  char date[64] = "", time[64] = "";
  vlOSGetDateTimeString(date, sizeof date, time, sizeof time);
  return std::string(date) + time;
}

}  // namespace fmp4
