// Values as JSON.
#pragma once

#include <string>
#include <string_view>

// A JSON string, quotes included. ASCII only, so that it is safe on a terminal too; bytes that are not
// UTF-8 are shown as U+FFFD.
std::string jsonText(std::string_view text);
// A JSON number: as few digits as identify the value.
std::string jsonNumber(double value);
