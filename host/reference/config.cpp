#include <atomic>
#include <charconv>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "host/reference/system.h"
#include "os/replace_file.h"
#include "vlhost.h"

namespace {

// Values set but not saved yet: KEY\NAME to value, by store. Everything else is read from the store itself,
// so changes made by other processes or by hand are seen and never lost.
using Values = std::map<std::string, std::uint32_t, std::less<>>;

struct Unsaved {
  std::mutex mutex;
  std::map<std::string, Values> byStore;
  std::atomic<bool> kept = false;  // for good: nothing is saved
};

Unsaved& unsaved() {
  static Unsaved& values = *new Unsaved;
  return values;
}

// A larger file is not accepted as a store.
constexpr std::uint32_t kMaxStoreBytes = 1 << 20;

// The text of a store, empty if it does not exist yet; nullopt if it cannot be read.
std::optional<std::string> readStore(const std::string& path) {
  if (vlOSFileExists(path.c_str()) == 0) return std::string();
  const VLHANDLE file =
      vlOSCreateFile(path.c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr, VL_OPEN_EXISTING, 0, 0);
  if (file == VL_INVALID_HANDLE) return std::nullopt;
  std::uint32_t high = 0;
  const std::uint32_t size = vlOSGetFileSize(file, &high);
  std::optional<std::string> text;
  if (high == 0 && size <= kMaxStoreBytes) {
    try {
      text.emplace(size, '\0');
    } catch (const std::bad_alloc&) {
      text.reset();
    }
  }
  std::uint32_t done = 0;
  if (text && vlOSReadFile(file, text->data(), size, &done) != 0) {
    text->resize(done);
  } else {
    text.reset();
  }
  vlOSCloseFile(file);
  return text;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Removes the first line, including its line end, from `text`.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end == std::string_view::npos ? end : end + 1);
  text.remove_prefix(line.size());
  return line;
}

// KEY\NAME of a line; empty for comments and any other lines.
std::string_view entryOf(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  const std::string_view entry = trimmed(line.substr(0, equals));
  return entry.starts_with('#') || entry.starts_with(';') ? std::string_view() : entry;
}

std::optional<std::uint32_t> valueOf(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  const std::string_view text = trimmed(line.substr(line.find('=') + 1));
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::uint32_t> findValue(std::string_view store, std::string_view entry) {
  while (!store.empty()) {
    const std::string_view line = takeLine(store);
    if (entryOf(line) == entry) return valueOf(line);
  }
  return std::nullopt;
}

std::string formatLine(std::string_view entry, std::uint32_t value) {
  return std::string(entry) + '=' + std::to_string(value) + '\n';
}

// Merges `values` into the text of a store: the first line of a value is replaced in place, new values are
// appended, all other lines stay unchanged.
std::string merge(std::string_view store, Values values) {
  std::string merged;
  while (!store.empty()) {
    const std::string_view line = takeLine(store);
    const auto found = values.find(entryOf(line));
    if (found == values.end()) {
      merged += line;
    } else {
      merged += formatLine(found->first, found->second);
      values.erase(found);
    }
  }
  if (!values.empty() && !merged.empty() && merged.back() != '\n') merged += '\n';
  for (const auto& [entry, value] : values) merged += formatLine(entry, value);
  return merged;
}

// Whether a line can hold the entry, that is, whether it reads back unchanged.
bool isWritable(std::string_view entry) {
  return entry.find('\n') == std::string_view::npos && entryOf(formatLine(entry, 0)) == entry;
}

std::uint32_t accessValue(const std::string& path, const std::string& entry, std::uint32_t& value,
                          std::uint32_t mode) {
  if (path.empty() || !isWritable(entry)) return VL_FAILED;
  const std::lock_guard<std::mutex> lock(unsaved().mutex);
  Values& values = unsaved().byStore[path];
  if (mode == VL_CFG_WRITE) {
    values.insert_or_assign(entry, value);
    return VL_OK;
  }
  if (const auto found = values.find(entry); found != values.end()) {
    value = found->second;
    return VL_OK;
  }
  const std::optional<std::string> store = readStore(path);
  const std::optional<std::uint32_t> stored = store ? findValue(*store, entry) : std::nullopt;
  if (!stored) return VL_FAILED;
  value = *stored;
  return VL_OK;
}

std::uint32_t save(const std::string& path) {
  if (unsaved().kept) return VL_OK;
  if (path.empty()) return VL_FAILED;
  const std::lock_guard<std::mutex> lock(unsaved().mutex);
  Values& values = unsaved().byStore[path];
  if (values.empty()) return VL_OK;
  const std::optional<std::string> store = readStore(path);
  if (!store || !vlhost::makeFolders(path)) return VL_FAILED;
  const std::string merged = merge(*store, values);
  if (const std::error_code error = fmp4::os::replaceFile(path, merged)) {
    vlhost::setLastError(static_cast<std::uint32_t>(error.value()));
    return VL_FAILED;
  }
  values.clear();
  return VL_OK;
}

}  // namespace

std::uint32_t vlCFGValueDword(std::int64_t root, const char* key, const char* name, std::uint32_t* value,
                              std::uint32_t mode) {
  if (root != VL_CFG_DEFAULT_ROOT || key == nullptr || name == nullptr || value == nullptr ||
      (mode != VL_CFG_READ && mode != VL_CFG_WRITE)) {
    return VL_FAILED;
  }
  try {
    return accessValue(vlhost::storePath(), std::string(key) + '\\' + name, *value, mode);
  } catch (const std::bad_alloc&) {
    return VL_FAILED;
  }
}

void vlKeepConfigUnsaved() {
  unsaved().kept = true;
}

std::uint32_t vlCFGSave(std::int64_t root, std::uint32_t /*flags*/) {
  if (root != VL_CFG_DEFAULT_ROOT) return VL_FAILED;
  try {
    return save(vlhost::storePath());
  } catch (const std::bad_alloc&) {
    return VL_FAILED;
  }
}
