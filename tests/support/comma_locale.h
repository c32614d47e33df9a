// A host whose numbers have decimal commas.
#pragma once

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "support/temp_folder.h"

// While one is alive, the process runs under a German locale, compiled for it. One at a time.
// Throws std::runtime_error when that cannot be had.
class CommaLocale {
 public:
  CommaLocale() {
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder_.file("de_DE.UTF-8") + "'";
    const bool compiled = std::system(command.c_str()) == 0;
    setenv("LOCPATH", folder_.path().c_str(), 1);
    if (!compiled || !std::setlocale(LC_ALL, "de_DE.UTF-8")) throw std::runtime_error("no German locale");
    char text[8];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    if (std::string(text) != "1,5") throw std::runtime_error("no decimal commas");
  }
  ~CommaLocale() {
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

 private:
  TempFolder folder_;
};
