// The folder of the program.
#pragma once

#include <filesystem>

namespace fmp4 {

// The folder of the running program, with links resolved. Throws UserError when the system does not report
// it.
std::filesystem::path programFolder();

}  // namespace fmp4
