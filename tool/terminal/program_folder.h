// Where the program lies.
#pragma once

#include <filesystem>

// The folder that holds the running program, whatever links led to it. Throws UserError when the system does
// not tell.
std::filesystem::path programFolder();
