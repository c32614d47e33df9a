// A host whose numbers have decimal commas.
#pragma once

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "support/environment.h"
#include "support/temp_folder.h"

// While one is alive, the process runs under a German locale, compiled for it where the system has none
// ready. One at a time. Throws std::runtime_error when that cannot be had.
class CommaLocale {
 public:
  CommaLocale() {
#if defined(_WIN32)
    const char* const name = "German_Germany.1252";
#else
    const char* const name = "de_DE.UTF-8";
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder_.file(name) + "'";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("no compiled locale");
#endif
    if (!std::setlocale(LC_ALL, name)) throw std::runtime_error("no German locale");
    char text[8];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    if (std::string(text) != "1,5") throw std::runtime_error("no decimal commas");
  }
  ~CommaLocale() {
    std::setlocale(LC_ALL, "C");
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

 private:
  TempFolder folder_;
  Environment place_{"LOCPATH", folder_.path().string().c_str()};
};
