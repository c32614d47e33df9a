// Regenerates the damaged files: make_damaged_files FOLDER
#include <cstdio>

#include "tests/corrupt/damaged_files.h"
#include "tests/support/temp_folder.h"

using namespace fmp4;

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: make_damaged_files FOLDER\n");
    return 2;
  }
  for (const DamagedFile& file : damagedFiles()) {
    writeFile(std::filesystem::path(arguments[1]) / file.name, file.bytes);
  }
}
