// Shows the fields of a box's payload as they are stored.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>

#include "mp4box/fields.h"

namespace fmp4 {

enum class FieldStyle {
  Text,       // name=value ..., of lists and byte fields only the start and the count
  FullText,   // name=value ..., everything
  Json,       // "name": value, ..., everything; byte fields and masks as hexadecimal texts
  ShortJson,  // the same of the start of lists, byte fields and texts, with a text that says how long they
              // are
};

// Reads the fields of `payload` from `bytes`, those of its box after the header, and prints them as they are
// stored, in file order on one line, without line end: counts and lengths too, whatever the box has of what
// they count. Consecutive entries of one name become one list, and so do numbers of one name.
void printFields(std::ostream& out, Mp4Payload& payload, std::span<const std::uint8_t> bytes,
                 FieldStyle style);

}  // namespace fmp4
