// A progress bar for long work.
#pragma once

#include <cstdint>
#include <string>

// Draws on standard error while it lives, on a terminal only, and leaves an empty line behind.
class Progress {
 public:
  // `total` steps of what `label` names. Not `visible`: draws nothing.
  Progress(std::string label, std::uint64_t total, bool visible = true);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // `done` steps are done.
  void show(std::uint64_t done);

 private:
  std::string label_;
  std::uint64_t total_;
  bool visible_;
  std::uint64_t percent_ = ~std::uint64_t{0};  // what is drawn; all ones: nothing yet
};

// Whether standard output is a terminal, where results and a bar would get in each other's way.
bool outputIsTerminal();
