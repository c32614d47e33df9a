#include "tool/host/input_names.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include "base/letter_case.h"
#include "base/user_error.h"
#include "os/path_name.h"

namespace fmp4 {

namespace fs = std::filesystem;

namespace {

// Kinds of files by their extensions. Of files of one name, those of a later kind belong to those before.
using Kind = std::vector<std::string_view>;
const std::array<Kind, 3> kKinds = {Kind{".mp4", ".m4v", ".ismv"}, Kind{".mpd"}, Kind{".m4a", ".isma"}};

bool isOf(const Kind& kind, const std::string& file) {
  return std::any_of(kind.begin(), kind.end(),
                     [&file](std::string_view extension) { return endsIgnoringCase(file, extension); });
}

std::vector<std::string> filesOf(const fs::path& folder) {
  std::vector<std::string> files;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) files.push_back(vlName(entry->path()));
  }
  if (error) throw UserError("the folder '" + vlName(folder) + "' cannot be read: " + error.message());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> inputsIn(const std::string& folder) {
  const std::vector<std::string> files = filesOf(vlPath(folder));
  std::vector<std::string> inputs;
  std::set<std::string> previous;  // without extensions
  for (const Kind& kind : kKinds) {
    std::set<std::string> present;
    for (const std::string& file : files) {
      const std::string base = file.substr(0, file.rfind('.'));
      if (!isOf(kind, file) || previous.contains(base)) continue;
      inputs.push_back(file);
      present.insert(base);
    }
    previous.merge(present);
  }
  std::sort(inputs.begin(), inputs.end());
  if (inputs.empty())
    throw UserError("the folder '" + folder +
                    "' has no MP4 files or manifests (.mp4, .m4v, .m4a, .ismv, .isma, .mpd)");
  return inputs;
}

}  // namespace

bool isFolder(const std::string& name) {
  std::error_code ignored;
  return fs::is_directory(vlPath(name), ignored);
}

std::vector<std::string> inputNames(const std::vector<std::string>& names) {
  std::vector<std::string> inputs;
  for (const std::string& name : names) {
    if (name == "-")
      throw UserError(
          "standard input cannot be read here, as files are read from any place; 'fmp4 package -' "
          "records it, or save it to a file (a file called - is ./-)");
    if (!isFolder(name)) {
      inputs.push_back(name);
      continue;
    }
    const std::vector<std::string> found = inputsIn(name);
    inputs.insert(inputs.end(), found.begin(), found.end());
  }
  return inputs;
}

}  // namespace fmp4
