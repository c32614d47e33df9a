// Writes the fields of a payload.
#pragma once

#include "mp4box/fields.h"
#include "mp4box/output.h"

namespace fmp4 {

// Writes fields to `out` with the box writing primitives. Their results are ignored: an output that fails
// reports this to its owner itself.
class Mp4FieldWriter : public Mp4Fields {
 public:
  explicit Mp4FieldWriter(Mp4Output& out) : out_(out) {}

  bool reading() const override { return false; }
  std::uint64_t remaining() const override { return ~std::uint64_t{0}; }
  void bytes(const char* name, std::span<std::uint8_t> bytes) override;
  void blob(const char* name, std::vector<std::uint8_t>& bytes, std::uint64_t count) override;
  void text(const char* name, std::string& value) override;
  void characters(const char* name, std::string& value, std::uint64_t count) override;
  void reserved(unsigned count) override;
  void words(const char* name, std::vector<std::uint32_t>& values, std::uint64_t count) override;
  void beginEntry(const char*) override {}
  void endEntry() override {}

 protected:
  void number(const char* name, std::uint64_t& value, unsigned bytes, Mp4Number kind) override;

 private:
  // The first `count` bytes of `size` at `data`.
  void write(const void* data, std::size_t size, std::uint64_t count);

  Mp4Output& out_;
};

}  // namespace fmp4
