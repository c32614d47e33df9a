// The interface to the library with the web server, which only `fmp4 serve` loads: the HTTP library brings
// TLS and compression with it, which take longer to load than most commands to run.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tool/serve/folder_recordings.h"
#include "tool/serve/media_data.h"

namespace fmp4 {

struct ServeRequest {
  std::string media;  // folders, UTF-8
  std::string page;
  int port = 0;  // 0: a free one
  AnswerData answer;
  // Called once, with the port and the recordings that are there.
  std::function<void(int, const std::vector<FolderRecording>&)> listening;
  std::function<bool()> endAsked;
  std::function<void(const std::string&)> failed;  // called instead, with the reason for the user
};

// Serves until the end is requested. Returns false after a failure. No exception leaves the library.
using ServeFolder = bool (*)(const ServeRequest& request);

// The library, beside the program, and its one export.
inline constexpr const char* kServerLibrary = "fmp4_serve";
inline constexpr const char* kServeFolder = "fmp4ServeFolder";

}  // namespace fmp4
