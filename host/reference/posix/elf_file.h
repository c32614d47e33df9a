// The file of a shared library, looked at without running anything of it.
#pragma once

#include <string>
#include <vector>

namespace vlhost {

// What an ELF file asks for, and whether it holds all that it describes. Of a file that cannot be read, or is
// no ELF file of this machine, the defaults: why it does not load is for the dynamic loader to tell.
struct ElfFile {
  // False when the file ends before a segment that is to be mapped does: loading it would end the process.
  bool complete = true;
  // Names of the libraries that it needs (DT_NEEDED), in the file's order.
  std::vector<std::string> needed;
};

// Reads a regular file. Throws std::bad_alloc alone; the memory it takes is in proportion to the file.
ElfFile readElfFile(const std::string& path);

}  // namespace vlhost
