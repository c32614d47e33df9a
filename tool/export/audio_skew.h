// By how much the sound of a file is earlier than its pictures where both are read from their beginning.
#pragma once

#include <string>

// Seconds from where the plug-in begins to read the sound of `file` to where its first picture plays: by edit
// lists, decode times and composition offsets, which the plug-in leaves to its host. Below zero when the
// sound begins after the picture; 0 when there is no video, or the file does not tell.
double audioSkew(const std::string& file);
