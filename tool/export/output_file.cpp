#include "tool/export/output_file.h"

#include <filesystem>

#include "base/user_error.h"
#include "os/path_name.h"

namespace fmp4 {

OutputFile::OutputFile(const std::string& path, const std::string& input, bool replace) : path_(path) {
  if (path == "-")
    throw UserError(
        "'-' names no file; /dev/stdout is standard output where the system has it, ./- a file called -");
  std::error_code ignored;
  if (std::filesystem::equivalent(vlPath(input), vlPath(path), ignored))
    throw UserError("'" + path + "' is the file to be exported; give another name for the output");
  const std::filesystem::path file = vlPath(path);
  if (!replace && std::filesystem::is_regular_file(file, ignored) &&
      !std::filesystem::is_empty(file, ignored))
    throw UserError("'" + path + "' exists; --force replaces it, or give another name for the output");
  file_.open(file, std::ios::binary);
  if (!file_) throw UserError("'" + path_ + "' cannot be created; check the folder and its permissions");
}

OutputFile::~OutputFile() {
  if (!finished_) remove();
}

void OutputFile::write(std::span<const std::uint8_t> bytes) {
  file_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  check();
}

void OutputFile::write(std::string_view text) {
  write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

void OutputFile::flush() {
  file_.flush();
  check();
}

void OutputFile::rewriteStart(std::span<const std::uint8_t> bytes) {
  file_.seekp(0);
  write(bytes);
  file_.seekp(0, std::ios::end);
}

void OutputFile::make(const std::function<void()>& work) {
  try {
    work();
    file_.close();
    check();
    finished_ = true;
  } catch (const UserError& error) {
    if (!remove()) throw;
    throw UserError(std::string(error.what()) + "; the partial '" + path_ + "' has been removed");
  }
}

bool OutputFile::remove() {
  std::error_code ignored;
  file_.close();
  const std::filesystem::path file = vlPath(path_);
  return std::filesystem::is_regular_file(file, ignored) && std::filesystem::remove(file, ignored);
}

void OutputFile::check() {
  if (!file_) throw UserError("'" + path_ + "' could not be written; is the disk full?");
}

}  // namespace fmp4
