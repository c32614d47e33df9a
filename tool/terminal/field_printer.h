// Shows the fields of a box's payload.
#pragma once

#include <iosfwd>

#include "mp4box/fields.h"

enum class FieldStyle {
  Text,  // name=value ..., of lists and runs of bytes only the start and the count
  Json,  // "name": value, ..., everything; runs of bytes and masks as hexadecimal texts
};

// Prints the fields in file order on one line, without line end. Entries of one name become one list, and so
// do numbers of one name.
void printFields(std::ostream& out, Mp4Payload& payload, FieldStyle style);
