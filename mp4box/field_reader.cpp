#include "mp4box/field_reader.h"

#include <algorithm>

namespace fmp4 {

std::uint8_t Mp4FieldReader::peek(std::uint64_t offset) const {
  return offset < left_.size() ? left_[static_cast<std::size_t>(offset)] : std::uint8_t{0};
}

void Mp4FieldReader::bytes(const char*, std::span<std::uint8_t> bytes) {
  const auto taken = take(bytes.size());
  std::fill(std::copy(taken.begin(), taken.end(), bytes.begin()), bytes.end(), std::uint8_t{0});
}

void Mp4FieldReader::blob(const char*, std::vector<std::uint8_t>& bytes, std::uint64_t count) {
  if (count > remaining()) countPastEnd();
  const auto taken = take(std::min(count, remaining()));
  bytes.assign(taken.begin(), taken.end());
}

void Mp4FieldReader::text(const char*, std::string& value) {
  const auto end = std::find(left_.begin(), left_.end(), std::uint8_t{0});
  value.assign(left_.begin(), end);
  take(value.size() + (end == left_.end() ? 0 : 1));
}

void Mp4FieldReader::characters(const char*, std::string& value, std::uint64_t count) {
  if (count > remaining()) countPastEnd();
  const auto taken = take(std::min(count, remaining()));
  value.assign(taken.begin(), taken.end());
}

void Mp4FieldReader::reserved(unsigned count) {
  take(count);
}

void Mp4FieldReader::words(const char*, std::vector<std::uint32_t>& values, std::uint64_t count) {
  const auto taken = take(std::min(count, remaining() / 4) * 4);
  values.resize(taken.size() / 4);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = Mp4LoadU32(&taken[4 * i]);
  if (values.size() == count) return;
  countPastEnd();
  left_ = {};
}

}  // namespace fmp4
