// Tells a file that the host fails to read from one that ends.
#pragma once

#include <string>

#include "base/user_error.h"
#include "mp4box/stream.h"

namespace fmp4 {

// Throws UserError if the host has failed to read from the file of `stream`, called `path`: what has been
// read of it is then not what it holds.
inline void requireRead(const Mp4Stream& stream, const std::string& path) {
  if (stream.readFailures() == 0) return;
  throw UserError("'" + path +
                  "' could not be read to its end; check the disk or the connection to it, then try again");
}

}  // namespace fmp4
