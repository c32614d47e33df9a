#include "tool/check/recording_names.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/letter_case.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "tool/host/input_names.h"
#include "tool/host/movie_file.h"

namespace fmp4 {

namespace {

// No recording's media have this extension: NAME.mp4 is recorded as NAME.m4v. Such files are sources.
bool isSource(const std::string& file) {
  return endsIgnoringCase(file, ".mp4");
}

}  // namespace

std::vector<std::string> recordingNames(const std::vector<std::string>& names) {
  std::vector<std::string> recordings;
  for (const std::string& name : names) {
    if (!isFolder(name)) {
      recordings.push_back(linkFollowed(name));
      continue;
    }
    std::vector<std::string> files = inputNames({name});
    std::erase_if(files, isSource);
    if (files.empty())
      throw UserError("the folder '" + name + "' has no recordings (.m4v, .m4a, .ismv, .isma, .mpd)");
    recordings.insert(recordings.end(), files.begin(), files.end());
  }
  return recordings;
}

bool nameSeveral(const std::vector<std::string>& names) {
  return names.size() != 1 || isFolder(names.front());
}

}  // namespace fmp4
