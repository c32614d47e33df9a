// Locales that the system may not have installed.
#pragma once

#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// While one is alive, the process runs under a locale compiled for it: of `language` ("de_DE") in `charset`
// ("UTF-8"); on Windows `windowsName`. One at a time. Throws std::runtime_error when it is not available.
class CompiledLocale {
 public:
  CompiledLocale(const std::string& language, const std::string& charset, const char* windowsName) {
#if defined(_WIN32)
    static_cast<void>(language), static_cast<void>(charset);
    const std::string name = windowsName;
#else
    static_cast<void>(windowsName);
    const std::string name = language + "." + charset;
    const std::string command =
        "localedef -i " + language + " -f " + charset + " '" + folder_.file(name.c_str()) + "'";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("no compiled locale");
#endif
    if (!std::setlocale(LC_ALL, name.c_str())) throw std::runtime_error("no locale " + name);
  }
  ~CompiledLocale() {
    std::setlocale(LC_ALL, "C");
  }
  CompiledLocale(const CompiledLocale&) = delete;
  CompiledLocale& operator=(const CompiledLocale&) = delete;

 private:
  TempFolder folder_;
  Environment place_{"LOCPATH", folder_.path().string().c_str()};
};

}  // namespace fmp4
