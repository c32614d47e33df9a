// What the program says besides its results, on standard error.
#pragma once

#include <string>

namespace fmp4 {

enum class ColourUse { Auto, Always, Never };

// Whether messages are coloured from now on. Auto: on a terminal that shows colours, unless the environment
// variable NO_COLOR is set and not empty (no-color.org). It is so before the first call too.
void setColour(ColourUse colour);

// "fmp4: text"
void say(const std::string& text);
// "fmp4: warning: text"
void warn(const std::string& text);
// "fmp4: text", as the reason why the program fails
void sayFailure(const std::string& text);

}  // namespace fmp4
