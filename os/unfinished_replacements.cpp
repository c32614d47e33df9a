#include "os/unfinished_replacements.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "os/file_in_use.h"
#include "os/path_name.h"

namespace fmp4::os {

namespace {

bool isNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// Whether a file is named as replaceFile() names the temporary file for `target`: the number of the process
// and a number of its own follow.
bool isTemporaryOf(std::string_view target, std::string_view name) {
  if (name.size() <= target.size() || !name.starts_with(target) || name[target.size()] != '.') return false;
  name.remove_prefix(target.size() + 1);
  const std::size_t dash = name.find('-');
  return dash != name.npos && isNumber(name.substr(0, dash)) && isNumber(name.substr(dash + 1));
}

}  // namespace

std::vector<std::string> unfinishedReplacements(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error, ignored;
  fs::path target = fs::canonical(vlPath(path), error);  // a link stays, what it leads to is replaced
  if (error) target = vlPath(path);
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const std::string name = vlName(target.filename());
  std::vector<std::string> found;
  error.clear();
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (!isTemporaryOf(name, vlName(entry->path().filename())) || !entry->is_regular_file(ignored)) continue;
    const std::string file = vlName(entry->path());
    if (!isBeingWritten(file)) found.push_back(file);
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace fmp4::os
