#include "tool/host/frame_selection.h"

#include <CLI/CLI.hpp>

void addFrameSelection(CLI::App& command, FrameSelection& selection) {
  command.add_option("--from", selection.from, "The first frame, counted from 0")
      ->type_name("N")
      ->capture_default_str();
  command.add_option("--count", selection.count, "How many frames; by default all that follow")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
}
