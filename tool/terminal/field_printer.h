// Shows the fields of a box's payload.
#pragma once

#include <iosfwd>

#include "mp4box/fields.h"

namespace fmp4 {

enum class FieldStyle {
  Text,  // name=value ..., of lists and byte fields only the start and the count
  Json,  // "name": value, ..., everything; byte fields and masks as hexadecimal texts
};

// Prints the fields in file order on one line, without line end. Consecutive entries of one name become one
// list, and so do numbers of one name.
void printFields(std::ostream& out, Mp4Payload& payload, FieldStyle style);

}  // namespace fmp4
