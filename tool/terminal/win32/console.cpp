#include "tool/terminal/console.h"

#include <windows.h>
// After <windows.h>, which it depends on.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <memory>

#include "os/path_name.h"

namespace fmp4 {

// The arguments of `main` are in the system's own encoding, which cannot represent every name.
std::vector<std::string> commandLine(int /*argc*/, char** /*argv*/) {
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> arguments(CommandLineToArgvW(GetCommandLineW(), &count),
                                                                &LocalFree);
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) texts.push_back(vlName(arguments.get()[i]));
  return texts;
}

void prepareStreams() {
  _setmode(1, _O_BINARY);
  _setmode(2, _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
}

bool isTerminal(int descriptor) {
  return _isatty(descriptor) != 0;
}

bool showsColour(int descriptor) {
  const HANDLE console = GetStdHandle(descriptor == 1 ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
  DWORD mode = 0;
  return isTerminal(descriptor) && GetConsoleMode(console, &mode) != 0 &&
         SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

}  // namespace fmp4
