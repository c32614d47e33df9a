// A file that a command writes.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace fmp4 {

// It is removed unless it is finished. Every operation throws UserError when the file cannot be written.
class OutputFile {
 public:
  // `input`: the file being read, which must not be overwritten. `replace`: an existing file with content may
  // be.
  OutputFile(const std::string& path, const std::string& input, bool replace);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  void write(std::span<const std::uint8_t> bytes);
  void write(std::string_view text);
  // Hands what was written to the system, for other programs to read.
  void flush();
  // Replaces the first bytes of the file; writing continues at its end.
  void rewriteStart(std::span<const std::uint8_t> bytes);

  // Runs `work`, which writes the whole file. A UserError from it also says that the partial file was
  // removed.
  void make(const std::function<void()>& work);

 private:
  void check();
  // Removes the file, unless it is a device. Returns whether it was removed.
  bool remove();

  std::string path_;
  std::ofstream file_;
  bool finished_ = false;
};

}  // namespace fmp4
