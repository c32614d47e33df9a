// Any payload of any box type: read, written and read again, its fields must be the same.
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "mp4box/box.h"
#include "mp4box/field_reader.h"
#include "mp4box/field_writer.h"
#include "mp4box/top_level_reader.h"
#include "tests/mp4box/boxes/payload_visitors.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

// The four bytes of a type as text.
std::string nameOf(std::uint32_t type) {
  std::string name;
  for (int shift = 24; shift >= 0; shift -= 8) name += static_cast<char>(type >> shift);
  return name;
}

Bytes written(Mp4Payload& payload) {
  Mp4MemoryOutput out;
  Mp4FieldWriter fields(out);
  payload.fields(fields);
  return out.bytes;
}

// The fields of a payload must be the same after a round trip. Where child boxes may follow them, they must
// also end where they ended, so the bytes after them are left in place.
void checkRoundTrip(const Mp4BoxType& row, const Bytes& payload) {
  const std::unique_ptr<Mp4Payload> first(row.make());
  Mp4FieldReader fields(payload);
  first->fields(fields);

  Bytes bytes = written(*first);
  if (row.reader == Mp4ReadLeafWithChildren) {
    bytes.insert(bytes.end(), payload.begin() + static_cast<std::ptrdiff_t>(fields.consumed()),
                 payload.end());
  }
  const std::unique_ptr<Mp4Payload> second(row.make());
  Mp4FieldReader again(bytes);
  second->fields(again);
  if (valuesOf(*second) != valuesOf(*first)) std::abort();
}

}  // namespace

// The first byte selects a type from the type table; the rest is the payload.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto& table = Mp4BoxTypeTable();
  const Mp4BoxType& row = table[data[0] % table.size()];
  const Bytes payload(data + 1, data + size);
  if (row.make) checkRoundTrip(row, payload);

  // As a box in a file, with its children.
  const Bytes bytes = box(row.type ? nameOf(row.type) : "zzzz", {payload});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  const auto file = Mp4ReadRoot(stream, true);
  if (file->defects().kept().size() > Mp4DefectList::kMaxKept) std::abort();
  return 0;
}

}  // namespace fmp4
