// A file that a command makes.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <span>
#include <string>

// It is removed again unless it is finished. Every operation throws UserError when the file cannot be made.
class OutputFile {
 public:
  // `input`: the file being read, which is not to be overwritten.
  OutputFile(const std::string& path, const std::string& input);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  void write(std::span<const std::uint8_t> bytes);
  // Replaces what stands at the start of the file; writing goes on at its end.
  void rewriteStart(std::span<const std::uint8_t> bytes);

  // Runs `work`, which writes the whole file. A UserError out of it also says that the partial file is gone.
  void make(const std::function<void()>& work);

 private:
  void check();
  // Removes the file, unless it is a device. Returns whether it did.
  bool remove();

  std::string path_;
  std::ofstream file_;
  bool finished_ = false;
};
