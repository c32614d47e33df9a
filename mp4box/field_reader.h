// Reads the fields of a payload from memory.
#pragma once

#include "base/bytes.h"
#include "base/result.h"
#include "mp4box/fields.h"

namespace fmp4 {

// Fills fields from `payload`, which must outlive it. Reading ends at the first field that does not fit: that
// field and all fields after it read as zero or empty.
class Mp4FieldReader : public Mp4Fields {
 public:
  explicit Mp4FieldReader(std::span<const std::uint8_t> payload) : payload_(payload), left_(payload) {}

  // Bytes consumed so far; once a field did not fit, this includes the remaining bytes.
  std::uint64_t consumed() const { return payload_.size() - left_.size(); }

  // Whether all fields fitted, or the first reason why not.
  Result result() const { return result_; }

  bool reading() const override { return true; }
  std::uint64_t remaining() const override { return left_.size(); }
  std::uint8_t peek(std::uint64_t offset) const override;
  void bytes(const char* name, std::span<std::uint8_t> bytes) override;
  void blob(const char* name, std::vector<std::uint8_t>& bytes, std::uint64_t count) override;
  void text(const char* name, std::string& value) override;
  void characters(const char* name, std::string& value, std::uint64_t count) override;
  void reserved(unsigned count) override;
  void words(const char* name, std::vector<std::uint32_t>& values, std::uint64_t count) override;
  void beginEntry(const char*) override {}
  void endEntry() override {}

 protected:
  void countPastEnd() override { fail(Defect::CountPastBox); }
  // Defined here, so that a payload whose reader is known at compile time is read without calls.
  void number(const char*, std::uint64_t& value, unsigned bytes, Mp4Number) override {
    const auto taken = take(bytes);
    if (taken.size() == 4) {
      value = Mp4LoadU32(taken.data());
      return;
    }
    value = 0;
    for (const std::uint8_t byte : taken) value = value << 8 | byte;
  }

 private:
  void fail(Defect defect) {
    if (result_.ok()) result_ = defect;
  }
  // The next `count` bytes. If fewer are left, returns none and ends the reading.
  std::span<const std::uint8_t> take(std::uint64_t count) {
    if (count > left_.size()) {
      fail(Defect::PayloadTruncated);
      left_ = {};
      return {};
    }
    const auto taken = left_.first(static_cast<std::size_t>(count));
    left_ = left_.subspan(taken.size());
    return taken;
  }

  std::span<const std::uint8_t> payload_;
  std::span<const std::uint8_t> left_;
  Result result_;
};

}  // namespace fmp4
