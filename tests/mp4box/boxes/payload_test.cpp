// Every payload reads back as it was written; fields beyond the end of a truncated one read as zeros.
#include <gmock/gmock.h>

#include <memory>
#include <set>

#include "mp4box/box.h"
#include "mp4box/boxes/caption_entry.h"
#include "mp4box/boxes/nmhd.h"
#include "mp4box/boxes/text_entry.h"
#include "mp4box/boxes/timed_text_entry.h"
#include "tests/mp4box/boxes/payload_visitors.h"
#include "tests/mp4box/payload_bytes.h"

namespace fmp4 {

namespace {

template <class Payload>
Mp4Payload* make() {
  return new Payload;
}

struct Kind {
  std::string name;
  Mp4Payload* (*make)();
  std::unique_ptr<Mp4Payload> empty() const { return std::unique_ptr<Mp4Payload>(make()); }
};

// Every payload of the type table, once, and those that the table does not use.
std::vector<Kind> everyKind() {
  std::vector<Kind> kinds;
  std::set<Mp4Payload* (*)()> seen;
  for (const Mp4BoxType& row : Mp4BoxTypeTable()) {
    if (!row.make || !seen.insert(row.make).second) continue;
    std::string name;
    for (int shift = 24; shift >= 0; shift -= 8) name += static_cast<char>(row.type >> shift);
    kinds.push_back({name, row.make});
  }
  kinds.push_back({"caption entry", make<mp4::CaptionSampleEntry>});
  kinds.push_back({"nmhd", make<mp4::NullMediaHeaderBox>});
  kinds.push_back({"text entry", make<mp4::TextSampleEntry>});
  kinds.push_back({"timed-text entry", make<mp4::TimedTextSampleEntry>});
  return kinds;
}

std::unique_ptr<Mp4Payload> readBack(const Kind& kind, const Bytes& bytes) {
  auto payload = kind.empty();
  Mp4FieldReader fields(bytes);
  payload->fields(fields);
  EXPECT_EQ(fields.consumed(), bytes.size());
  return payload;
}

void expectRoundTrip(const Kind& kind, Mp4Payload& payload) {
  const Bytes written = bytesOf(payload);
  const auto back = readBack(kind, written);
  EXPECT_EQ(valuesOf(*back), valuesOf(payload));
  EXPECT_EQ(bytesOf(*back), written);
}

constexpr unsigned kSeeds = 40;

// Reads numbers and records for each whether its bytes were present.
class CheckingReader : public Mp4FieldReader {
 public:
  explicit CheckingReader(const Bytes& payload) : Mp4FieldReader(payload), payload_(payload) {}

 protected:
  void number(const char* name, std::uint64_t& value, unsigned bytes, Mp4Number kind) override {
    const std::uint64_t at = consumed();
    const bool fits = remaining() >= bytes;
    Mp4FieldReader::number(name, value, bytes, kind);
    std::uint64_t expected = 0;
    for (unsigned i = 0; fits && i < bytes; ++i) expected = expected << 8 | payload_[at + i];
    EXPECT_EQ(value, expected) << name << " at " << at;
    if (!fits) {
      EXPECT_EQ(remaining(), 0u) << name << " at " << at;
    }
  }

 private:
  const Bytes& payload_;
};

TEST(Payload, EveryKindReadsBackAsItWasWritten) {
  const std::vector<Kind> kinds = everyKind();
  EXPECT_EQ(kinds.size(), 64u);
  for (const Kind& kind : kinds) {
    for (unsigned seed = 0; seed < kSeeds; ++seed) {
      SCOPED_TRACE(kind.name + ", seed " + std::to_string(seed));
      const auto payload = kind.empty();
      FillingVisitor fill(seed);
      payload->fields(fill);
      expectRoundTrip(kind, *payload);
    }
  }
}

TEST(Payload, EveryKindCanBeChangedAndWrittenAgain) {
  for (const Kind& kind : everyKind()) {
    for (unsigned seed = 0; seed < kSeeds; ++seed) {
      SCOPED_TRACE(kind.name + ", seed " + std::to_string(seed));
      const auto first = kind.empty();
      FillingVisitor fill(seed);
      first->fields(fill);
      const auto payload = readBack(kind, bytesOf(*first));
      FillingVisitor change(seed + kSeeds);
      payload->fields(change);
      expectRoundTrip(kind, *payload);
    }
  }
}

TEST(Payload, EveryKindCanBeWrittenEmpty) {
  for (const Kind& kind : everyKind()) {
    SCOPED_TRACE(kind.name);
    const auto payload = kind.empty();
    expectRoundTrip(kind, *payload);
  }
}

TEST(Payload, EveryKindTruncatedAtAnyByteReadsAsZerosFromThere) {
  for (const Kind& kind : everyKind()) {
    for (unsigned seed = 0; seed < 8; ++seed) {
      const auto payload = kind.empty();
      FillingVisitor fill(seed);
      payload->fields(fill);
      const Bytes entire = bytesOf(*payload);
      for (std::size_t size = 0; size <= entire.size(); ++size) {
        SCOPED_TRACE(kind.name + " truncated at " + std::to_string(size) + ", seed " + std::to_string(seed));
        const Bytes cut(entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(size));
        const auto part = kind.empty();
        CheckingReader fields(cut);
        part->fields(fields);
        // Whatever was read can be written, and no table is longer than its bytes allow.
        EXPECT_LE(bytesOf(*part).size(), entire.size() + 60);
      }
    }
  }
}

TEST(Payload, ArbitraryBytesAreReadSafely) {
  std::mt19937 random(20);
  for (const Kind& kind : everyKind()) {
    for (int round = 0; round < 300; ++round) {
      SCOPED_TRACE(kind.name + ", round " + std::to_string(round));
      Bytes bytes(random() % 120);
      for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() % 4 ? random() : 0xFF);
      const auto payload = kind.empty();
      CheckingReader fields(bytes);
      payload->fields(fields);
      const Bytes written = bytesOf(*payload);
      EXPECT_LE(written.size(), bytes.size() + 128);
      // What was parsed is stable: written, it reads back the same.
      const auto back = kind.empty();
      Mp4FieldReader again(written);
      back->fields(again);
      EXPECT_EQ(bytesOf(*back), written);
    }
  }
}

}  // namespace

}  // namespace fmp4
