// A host whose numbers have decimal commas.
#pragma once

#include <cstdio>

#include "tests/support/compiled_locale.h"

namespace fmp4 {

// While one is alive, the process runs under a German locale.
class CommaLocale : public CompiledLocale {
 public:
  CommaLocale() : CompiledLocale("de_DE", "UTF-8", "German_Germany.1252") {
    char text[8];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    if (std::string(text) != "1,5") throw std::runtime_error("no decimal commas");
  }
};

}  // namespace fmp4
