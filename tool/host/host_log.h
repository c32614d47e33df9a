// The host's log, as this program shows it.
#pragma once

#include <string>

// Takes over the host's log for the rest of the program. Its lines go on to standard error, unless `quiet`.
void takeHostLog(bool quiet);

// The words of the last error that the plug-in logged, without prefix and line end; empty when there was none
// since the log was taken over or forgetLoggedError() called.
std::string lastLoggedError();
void forgetLoggedError();
