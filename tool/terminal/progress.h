// A progress bar for long operations.
#pragma once

#include <cstdint>
#include <string>

namespace fmp4 {

// Draws on standard error while it exists, on a terminal only, and leaves an empty line.
class Progress {
 public:
  // `total` steps of the operation `label`. Not `visible`: draws nothing.
  Progress(std::string label, std::uint64_t total, bool visible = true);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // From now on nothing is drawn.
  static void hide() { hidden_ = true; }

  // Reports that `done` steps are done.
  void show(std::uint64_t done);

 private:
  static inline bool hidden_ = false;

  std::string label_;
  std::uint64_t total_;
  bool visible_;
  std::uint64_t percent_ = ~std::uint64_t{0};  // the percentage drawn; all ones: nothing yet
};

// Whether standard output is a terminal, where results and a bar would be mixed.
bool outputIsTerminal();

}  // namespace fmp4
