// Builds the bytes of boxes: box("moof", {box("mfhd", {u32(0), u32(1)})}). All numbers are big-endian.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace fmp4 {

using Bytes = std::vector<std::uint8_t>;

inline Bytes join(std::initializer_list<Bytes> parts) {
  std::size_t size = 0;
  for (const Bytes& part : parts) size += part.size();
  Bytes all(size);
  auto end = all.begin();
  for (const Bytes& part : parts) end = std::copy(part.begin(), part.end(), end);
  return all;
}

// The low `count` bytes of a number.
inline Bytes number(std::uint64_t value, unsigned count) {
  Bytes bytes(count);
  for (unsigned i = count; i-- > 0; value >>= 8) bytes[i] = static_cast<std::uint8_t>(value);
  return bytes;
}
inline Bytes u8(std::uint64_t value) {
  return number(value, 1);
}
inline Bytes u16(std::uint64_t value) {
  return number(value, 2);
}
inline Bytes u24(std::uint64_t value) {
  return number(value, 3);
}
inline Bytes u32(std::uint64_t value) {
  return number(value, 4);
}
inline Bytes u64(std::uint64_t value) {
  return number(value, 8);
}
inline Bytes zeros(std::size_t count) {
  return Bytes(count);
}
inline Bytes text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}
inline Bytes repeat(const Bytes& part, std::size_t times) {
  Bytes all;
  all.reserve(part.size() * times);
  for (std::size_t i = 0; i < times; ++i) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// A box whose size field is `size` whatever it holds.
inline Bytes boxOfSize(std::uint64_t size, std::string_view type, std::initializer_list<Bytes> parts = {}) {
  return join({u32(size), text(type), join(parts)});
}
inline Bytes box(std::string_view type, std::initializer_list<Bytes> parts = {}) {
  const Bytes payload = join(parts);
  return boxOfSize(8 + payload.size(), type, {payload});
}
// With version and flags before the fields.
inline Bytes fullBox(std::string_view type, std::uint8_t version, std::uint32_t flags,
                     std::initializer_list<Bytes> parts = {}) {
  return box(type, {u8(version), u24(flags), join(parts)});
}
// With a 64-bit size field of `size` whatever the box holds.
inline Bytes largeBoxOfSize(std::uint64_t size, std::string_view type,
                            std::initializer_list<Bytes> parts = {}) {
  return boxOfSize(1, type, {u64(size), join(parts)});
}
inline Bytes largeBox(std::string_view type, std::initializer_list<Bytes> parts = {}) {
  const Bytes payload = join(parts);
  return largeBoxOfSize(16 + payload.size(), type, {payload});
}

}  // namespace fmp4
