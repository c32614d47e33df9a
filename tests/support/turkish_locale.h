// A host whose letters have special case rules.
#pragma once

#include <cctype>

#include "tests/support/compiled_locale.h"

namespace fmp4 {

// While one is alive, the process runs under a Turkish locale of single-byte characters.
class TurkishLocale : public CompiledLocale {
 public:
  TurkishLocale() : CompiledLocale("tr_TR", "ISO-8859-9", "Turkish_Turkey.1254") {
#if !defined(_WIN32)  // Wine's C library has the locale, but English case rules in it
    if (std::tolower('I') == 'i') throw std::runtime_error("no dotless i");
#endif
  }
};

}  // namespace fmp4
