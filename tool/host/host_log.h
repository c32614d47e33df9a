// The host's log, as this program shows it.
#pragma once

#include <string>

namespace fmp4 {

// Takes over the host's log until the program ends. Its lines go to standard error, unless `quiet`.
void takeHostLog(bool quiet);

// The text of the last error that the plug-in logged, without prefix and line end; empty when there was none
// since the log was taken over or forgetLoggedError() was called.
std::string lastLoggedError();
void forgetLoggedError();

}  // namespace fmp4
