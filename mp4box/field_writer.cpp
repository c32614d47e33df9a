#include "mp4box/field_writer.h"

#include <algorithm>
#include <limits>

namespace fmp4 {

void Mp4FieldWriter::write(const void* data, std::size_t size, std::uint64_t count) {
  auto* bytes = static_cast<const std::uint8_t*>(data);
  std::uint64_t left = std::min<std::uint64_t>(count, size);
  while (left > 0) {
    const auto part =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(left, std::numeric_limits<std::uint32_t>::max()));
    Mp4WriteBytes(out_, bytes, part);
    bytes += part;
    left -= part;
  }
}

void Mp4FieldWriter::number(const char*, std::uint64_t& value, unsigned bytes, Mp4Number) {
  switch (bytes) {
    case 1:
      Mp4WriteU8(out_, static_cast<std::uint8_t>(value));
      break;
    case 2:
      Mp4WriteU16(out_, static_cast<std::uint16_t>(value));
      break;
    case 3:
      Mp4WriteU24(out_, static_cast<std::uint32_t>(value));
      break;
    case 4:
      Mp4WriteU32(out_, static_cast<std::uint32_t>(value));
      break;
    default:
      Mp4WriteU64(out_, value);
      break;
  }
}

void Mp4FieldWriter::bytes(const char*, std::span<std::uint8_t> bytes) {
  write(bytes.data(), bytes.size(), bytes.size());
}

void Mp4FieldWriter::blob(const char*, std::vector<std::uint8_t>& bytes, std::uint64_t count) {
  write(bytes.data(), bytes.size(), count);
}

void Mp4FieldWriter::text(const char*, std::string& value) {
  write(value.c_str(), value.size() + 1, value.size() + 1);
}

void Mp4FieldWriter::characters(const char*, std::string& value, std::uint64_t count) {
  write(value.data(), value.size(), count);
}

void Mp4FieldWriter::reserved(unsigned count) {
  const std::vector<std::uint8_t> zeros(count);
  write(zeros.data(), zeros.size(), count);
}

void Mp4FieldWriter::words(const char*, std::vector<std::uint32_t>& values, std::uint64_t count) {
  // Tables are long, so many numbers go into one write.
  std::vector<std::uint8_t> block;
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(count, values.size()));
  block.reserve(4 * size);
  for (std::size_t i = 0; i < size; ++i) {
    for (unsigned shift = 32; shift > 0; shift -= 8)
      block.push_back(static_cast<std::uint8_t>(values[i] >> (shift - 8)));
  }
  write(block.data(), block.size(), block.size());
}

}  // namespace fmp4
