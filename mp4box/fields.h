// Each payload is described once, as a walk over its fields in file order. Reading, writing and printing are
// visitors of this walk.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace fmp4 {

// The interpretation of a number, for visitors that print it.
enum class Mp4Number { Unsigned, Signed, FourCc, Fixed16, Fixed8, Hex };

// One bit field of a packed number; `value` is right-aligned.
struct Mp4Bits {
  const char* name;
  std::uint32_t& value;
  unsigned width;  // bits, at most 32
};

// One column of a table of 32-bit numbers.
struct Mp4Column {
  const char* name;
  Mp4Number kind;
};

// Visits the fields of one payload, big-endian, in file order.
//
// A reader reads a field only if all of it fits in the remaining bytes; a field that does not fit reads as
// zero, and so do all fields after it. There are no other errors.
class Mp4Fields {
 public:
  virtual ~Mp4Fields() = default;

  // Whether the visitor fills the fields from bytes, rather than reading their values.
  virtual bool reading() const = 0;
  // Bytes not read yet; all ones if not reading.
  virtual std::uint64_t remaining() const = 0;
  // The byte `offset` bytes past the current position, without consuming it; 0 past the end or if not
  // reading. For formats that are distinguished by what follows.
  virtual std::uint8_t peek(std::uint64_t /*offset*/) const { return 0; }
  std::uint32_t peekU32(std::uint64_t offset) const {
    return static_cast<std::uint32_t>(peek(offset)) << 24 |
           static_cast<std::uint32_t>(peek(offset + 1)) << 16 |
           static_cast<std::uint32_t>(peek(offset + 2)) << 8 | peek(offset + 3);
  }

  template <class T>
  void u8(const char* name, T& value) {
    integer(name, value, 1, Mp4Number::Unsigned);
  }
  template <class T>
  void u16(const char* name, T& value) {
    integer(name, value, 2, Mp4Number::Unsigned);
  }
  template <class T>
  void u24(const char* name, T& value) {
    integer(name, value, 3, Mp4Number::Unsigned);
  }
  template <class T>
  void u32(const char* name, T& value) {
    integer(name, value, 4, Mp4Number::Unsigned);
  }
  template <class T>
  void u64(const char* name, T& value) {
    integer(name, value, 8, Mp4Number::Unsigned);
  }
  void i16(const char* name, std::int16_t& value) { integer(name, value, 2, Mp4Number::Signed); }
  void i32(const char* name, std::int32_t& value) { integer(name, value, 4, Mp4Number::Signed); }
  void i64(const char* name, std::int64_t& value) { integer(name, value, 8, Mp4Number::Signed); }
  // Bit fields and masks.
  template <class T>
  void hex(const char* name, T& value, unsigned bytes) {
    integer(name, value, bytes, Mp4Number::Hex);
  }
  void fourcc(const char* name, std::uint32_t& value) { integer(name, value, 4, Mp4Number::FourCc); }
  // 16.16 fixed point; the value is the stored integer.
  void fixed16(const char* name, std::uint32_t& value) { integer(name, value, 4, Mp4Number::Fixed16); }
  // 8.8 fixed point; the value is the stored integer.
  void fixed8(const char* name, std::uint16_t& value) { integer(name, value, 2, Mp4Number::Fixed8); }
  // 1 to 4 bytes, as specified by another field.
  void unsignedNumber(const char* name, std::uint32_t& value, unsigned bytes) {
    integer(name, value, bytes, Mp4Number::Unsigned);
  }
  // 64 bits if `wide`, otherwise 32 (times and offsets whose size depends on the version).
  void u32or64(const char* name, std::uint64_t& value, bool wide) {
    integer(name, value, wide ? 8 : 4, Mp4Number::Unsigned);
  }

  // Bit fields packed into one number of `bytes` bytes, the first in its top bits; the widths add up to all
  // of its bits.
  virtual void packed(unsigned bytes, std::initializer_list<Mp4Bits> fields) {
    std::uint64_t bits = 0;
    for (const Mp4Bits& field : fields) bits = bits << field.width | (field.value & mask(field.width));
    number(fields.begin()->name, bits, bytes, Mp4Number::Hex);
    unsigned shift = 8 * bytes;
    for (const Mp4Bits& field : fields) {
      shift -= field.width;
      field.value = static_cast<std::uint32_t>(bits >> shift & mask(field.width));
    }
  }

  // `bytes.size()` bytes.
  virtual void bytes(const char* name, std::span<std::uint8_t> bytes) = 0;
  // `count` bytes; a reader reads the bytes available, at most `count`.
  virtual void blob(const char* name, std::vector<std::uint8_t>& bytes, std::uint64_t count) = 0;
  // All remaining bytes.
  void rest(const char* name, std::vector<std::uint8_t>& value) {
    blob(name, value, reading() ? remaining() : value.size());
  }
  // A text with its terminating zero; a reader also accepts one that ends with the payload.
  virtual void text(const char* name, std::string& value) = 0;
  // `count` characters without a terminating zero; a reader reads those available, at most `count`.
  virtual void characters(const char* name, std::string& value, std::uint64_t count) = 0;
  void restCharacters(const char* name, std::string& value) {
    characters(name, value, reading() ? remaining() : value.size());
  }
  // `count` reserved bytes: written as zero, skipped by a reader.
  virtual void reserved(unsigned count) = 0;
  // `count` 32-bit numbers in one go; a reader reads the complete ones available, at most `count`.
  virtual void words(const char* name, std::vector<std::uint32_t>& values, std::uint64_t count) = 0;

  // `count` rows of 32-bit numbers, one for each column; as words(), for visitors that print them.
  virtual void rows(const char* name, std::vector<std::uint32_t>& values, std::uint64_t count,
                    std::span<const Mp4Column> columns) {
    words(name, values, count * columns.size());
  }
  // A number of 7 bits per byte, most significant first, to be read; every byte except the last has its top
  // bit set. Returns the number of bytes.
  virtual std::uint32_t sevenBits(const char* name, std::uint32_t& value) {
    std::uint32_t count = 0;
    std::uint8_t byte = 0;
    value = 0;
    do {
      u8(name, byte);
      value = value << 7 | (byte & 0x7Fu);
      ++count;
    } while (byte & 0x80);
    return count;
  }

  // The count of entries that fill the rest of the payload.
  static constexpr std::uint64_t kToTheEnd = ~std::uint64_t{0};
  // `count` entries of at least `entryBytes` bytes each, visited by `each(entry)`. A reader allocates no more
  // entries than the remaining bytes can hold.
  template <class T, class Each>
  void entries(const char* name, std::vector<T>& list, std::uint64_t count, unsigned entryBytes, Each each) {
    if (reading()) {
      const std::uint64_t held = remaining() / entryBytes;
      if (count > held && count != kToTheEnd) countPastEnd();
      list.resize(static_cast<std::size_t>(std::min(count, held)));
    }
    for (T& entry : list) {
      beginEntry(name);
      each(entry);
      endEntry();
    }
  }
  virtual void beginEntry(const char* name) = 0;
  virtual void endEntry() = 0;

 protected:
  // One number of `bytes` bytes; `value` holds it right-aligned.
  virtual void number(const char* name, std::uint64_t& value, unsigned bytes, Mp4Number kind) = 0;
  // Receives that there are fewer entries than their count says.
  virtual void countPastEnd() {}

 private:
  static constexpr std::uint64_t mask(unsigned width) { return (std::uint64_t{1} << width) - 1; }

  template <class T>
  void integer(const char* name, T& value, unsigned bytes, Mp4Number kind) {
    static_assert(std::is_integral_v<T>);
    std::uint64_t bits = static_cast<std::make_unsigned_t<T>>(value);
    number(name, bits, bytes, kind);
    value = static_cast<T>(bits);
  }
};

// The payload record of a box.
struct Mp4Payload {
  virtual ~Mp4Payload() = default;
  // Walks the fields in file order.
  virtual void fields(Mp4Fields& f) = 0;
  // Receives the payload of the parent box before the fields are read, for formats that depend on it.
  virtual void readInside(const Mp4Payload& /*father*/) {}
};

// The payload of a full box (ISO/IEC 14496-12, 4.2), which starts with version and flags.
struct Mp4FullBox : Mp4Payload {
  std::uint8_t version = 0;
  std::uint32_t flags = 0;  // 24 bits

  void fullBox(Mp4Fields& f) {
    f.u8("version", version);
    f.hex("flags", flags, 3);
  }
};

}  // namespace fmp4
