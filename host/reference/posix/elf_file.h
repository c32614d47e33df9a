// Inspects the file of a shared library without running any of its code.
#pragma once

#include <string>
#include <vector>

namespace vlhost {

// The dependencies of an ELF file, and whether the file is complete. Default values if the file cannot be
// read or is not an ELF file for this machine: the dynamic loader then reports why it does not load.
struct ElfFile {
  // False if the file ends before a segment to be mapped does: loading it would crash the process.
  bool complete = true;
  // Names of the required libraries (DT_NEEDED), in file order.
  std::vector<std::string> needed;
};

// Reads a regular file. Throws only std::bad_alloc; memory use is proportional to the file size.
ElfFile readElfFile(const std::string& path);

}  // namespace vlhost
