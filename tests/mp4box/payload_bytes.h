// Reading a payload from its bytes and writing it again.
#pragma once

#include <gtest/gtest.h>

#include "mp4box/field_reader.h"
#include "mp4box/field_writer.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

inline Bytes bytesOf(Mp4Payload& payload) {
  Mp4MemoryOutput out;
  Mp4FieldWriter fields(out);
  payload.fields(fields);
  return out.bytes;
}

template <class Payload>
Payload read(const Bytes& bytes) {
  Payload payload;
  Mp4FieldReader fields(bytes);
  payload.fields(fields);
  return payload;
}

// Reads a payload, which is expected to consume all of `bytes` and to write the same bytes again.
template <class Payload>
Payload readExactly(const Bytes& bytes) {
  Payload payload;
  Mp4FieldReader fields(bytes);
  payload.fields(fields);
  EXPECT_EQ(fields.consumed(), bytes.size());
  EXPECT_EQ(bytesOf(payload), bytes);
  return payload;
}

}  // namespace fmp4
