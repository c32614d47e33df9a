#include "tool/terminal/field_printer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "mp4box/boxes/ctts.h"
#include "mp4box/boxes/esds.h"
#include "mp4box/boxes/trun.h"
#include "mp4box/field_writer.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

std::string printStored(Mp4Payload& payload, const Bytes& bytes, FieldStyle style) {
  std::ostringstream out;
  printFields(out, payload, bytes, style);
  return out.str();
}

// Prints the payload as it is written.
std::string print(Mp4Payload& payload, FieldStyle style) {
  Mp4MemoryOutput written;
  Mp4FieldWriter writer(written);
  payload.fields(writer);
  return printStored(payload, written.bytes, style);
}

struct Numbers : Mp4FullBox {
  std::uint32_t brand = 0x69736F6D;
  std::int16_t down = -2;
  std::uint32_t rate = 0x00018000;
  std::uint16_t volume = 0x0180;
  std::uint32_t kind = 1, size = 77;
  std::uint32_t matrix[3] = {0x10000, 0, 0x40000000};
  std::string name = "a \"b\"\x1B\xFF";

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.fourcc("brand", brand);
    f.i16("down", down);
    f.reserved(4);
    f.fixed16("rate", rate);
    f.fixed8("volume", volume);
    f.packed(4, {{"kind", kind, 1}, {"size", size, 31}});
    for (std::uint32_t& value : matrix) f.hex("matrix", value, 4);
    f.text("name", name);
  }
};

TEST(FieldPrinter, ShowsEveryKindOfNumber) {
  Numbers numbers;
  numbers.flags = 0xA01;
  EXPECT_EQ(print(numbers, FieldStyle::Text),
            "version=0 flags=0x000a01 brand=\"isom\" down=-2 rate=1.5 volume=1.5 kind=1 size=77 "
            "matrix=[0x00010000, 0x00000000, 0x40000000] name=\"a \\\"b\\\"\\u001b\\ufffd\"");
  EXPECT_EQ(print(numbers, FieldStyle::Json),
            "\"version\": 0, \"flags\": \"0x000a01\", \"brand\": \"isom\", \"down\": -2, \"rate\": 1.5, "
            "\"volume\": 1.5, \"kind\": 1, \"size\": 77, "
            "\"matrix\": [\"0x00010000\", \"0x00000000\", \"0x40000000\"], "
            "\"name\": \"a \\\"b\\\"\\u001b\\ufffd\"");
}

struct Repeated : Mp4Payload {
  std::uint32_t code = 0x00FF6122;

  void fields(Mp4Fields& f) override {
    std::uint8_t tag = 3, length = 5;
    for (std::uint8_t i = 0; i < 3; ++i, ++tag) {
      f.hex("tag", tag, 1);
      f.u8("length", length);
    }
    f.fourcc("code", code);
  }
};

TEST(FieldPrinter, NumbersRepeatedNames) {
  Repeated repeated;
  EXPECT_EQ(print(repeated, FieldStyle::Text),
            "tag=0x03 length=5 tag_2=0x04 length_2=5 tag_3=0x05 length_3=5 code=\"\\x00\\xFFa\"\"");
  EXPECT_EQ(print(repeated, FieldStyle::Json),
            "\"tag\": \"0x03\", \"length\": 5, \"tag_2\": \"0x04\", \"length_2\": 5, "
            "\"tag_3\": \"0x05\", \"length_3\": 5, \"code\": \"\\\\x00\\\\xFFa\\\"\"");
}

constexpr std::uint32_t kSized = 0x200;  // flags of a run: a size for each sample

// Lists of `count` entries, numbers and bytes, with nested lists in the entries.
struct Lists : Mp4Payload {
  struct Entry {
    std::uint32_t value = 0;
    std::vector<std::uint8_t> inner = {1, 2, 3, 4, 5};
  };
  explicit Lists(std::size_t count) : entries(count), words(count, 9), bytes(count, 0xAB) {}

  std::vector<Entry> entries;
  std::vector<std::uint32_t> words;
  std::vector<std::uint8_t> bytes;
  std::uint8_t last = 1;

  void fields(Mp4Fields& f) override {
    f.entries("entry", entries, entries.size(), 4, [&f](Entry& entry) {
      f.u32("value", entry.value);
      f.entries("inner", entry.inner, entry.inner.size(), 1,
                [&f](std::uint8_t& byte) { f.u8("byte", byte); });
    });
    f.words("words", words, words.size());
    f.blob("bytes", bytes, bytes.size());
    f.u8("last", last);
  }
};

TEST(FieldPrinter, JsonHasCompleteLists) {
  Lists lists(20);
  const auto object = nlohmann::json::parse("{" + print(lists, FieldStyle::Json) + "}");
  ASSERT_EQ(object["entry"].size(), 20u);
  EXPECT_EQ(object["entry"][19].dump(),
            R"({"inner":[{"byte":1},{"byte":2},{"byte":3},{"byte":4},{"byte":5}],"value":0})");
  EXPECT_EQ(object["words"], std::vector<int>(20, 9));
  EXPECT_EQ(object["bytes"], "abababababababababababababababababababab");
  EXPECT_EQ(object["last"], 1);
}

TEST(FieldPrinter, TextShortensLongLists) {
  Lists lists(20);
  const std::string inner = "{byte=1}, {byte=2}, {byte=3}, {byte=4}, ... 5 in all";
  const std::string entry = "{value=0 inner=[" + inner + "]}";
  EXPECT_EQ(print(lists, FieldStyle::Text),
            "entry=[" + entry + ", " + entry + ", " + entry + ", " + entry +
                ", ... 20 in all] words=[9, 9, 9, 9, ... 20 in all] "
                "bytes=\"abababababababababababababababab\"...(20 bytes) last=1");
}

TEST(FieldPrinter, ShortJsonSaysHowLongWhatItShortensIs) {
  Lists lists(65);
  const auto object = nlohmann::json::parse("{" + print(lists, FieldStyle::ShortJson) + "}");
  ASSERT_EQ(object["entry"].size(), 65u);
  EXPECT_EQ(object["entry"][63]["inner"].size(), 5u);
  EXPECT_EQ(object["entry"][64], "... 65 in all");
  ASSERT_EQ(object["words"].size(), 65u);
  EXPECT_EQ(object["words"][63], 9);
  EXPECT_EQ(object["words"][64], "... 65 in all");
  std::string bytes;
  for (int i = 0; i < 64; ++i) bytes += "ab";
  EXPECT_EQ(object["bytes"], bytes + "...(65 bytes)");
  EXPECT_EQ(object["last"], 1);
  Lists full(64);
  EXPECT_EQ(print(full, FieldStyle::ShortJson), print(full, FieldStyle::Json));
  Numbers numbers;
  numbers.name = std::string(1025, 'n');
  const auto named = nlohmann::json::parse("{" + print(numbers, FieldStyle::ShortJson) + "}");
  EXPECT_EQ(named["name"], std::string(1024, 'n') + "...");
}

TEST(FieldPrinter, FullTextHasCompleteLists) {
  Lists lists(5);
  const std::string inner = "inner=[{byte=1}, {byte=2}, {byte=3}, {byte=4}, {byte=5}]";
  const std::string entry = "{value=0 " + inner + "}";
  EXPECT_EQ(print(lists, FieldStyle::FullText), "entry=[" + entry + ", " + entry + ", " + entry + ", " +
                                                    entry + ", " + entry +
                                                    "] words=[9, 9, 9, 9, 9] bytes=\"ababababab\" last=1");
}

// The counts are those of the file; the entries are those that the box has.
TEST(FieldPrinter, CountsArePrintedAsStored) {
  mp4::CompositionOffsetBox offsets;
  EXPECT_EQ(
      printStored(offsets, join({u32(0), u32(4'000'000'000), u32(3), u32(7), u32(1)}), FieldStyle::Text),
      "version=0 flags=0x000000 entry_count=4000000000 entry=[{sample_count=3 sample_offset=7}]");
  mp4::TrackRunBox run;
  EXPECT_EQ(printStored(run, join({u32(kSized), u32(3), u32(10), u32(20)}), FieldStyle::Text),
            "version=0 flags=0x000200 sample_count=3 samples=[{sample_size=10}, {sample_size=20}]");
}

TEST(FieldPrinter, ShowsEachSampleOfARun) {
  const Bytes stored = join({u32(0x01000F05), u32(5), u32(100), u32(0x02000000)});
  Bytes samples;
  for (std::uint32_t i = 0; i < 5; ++i)
    samples = join({samples, u32(40 + i), u32(1000 + i), u32(0x00010000), u32(0xFFFFFFFF - i)});
  mp4::TrackRunBox run;
  const std::string start =
      "version=1 flags=0x000f05 sample_count=5 data_offset=100 first_sample_flags=0x02000000 samples=[";
  const auto sample = [](int i) {
    return "{sample_duration=" + std::to_string(40 + i) + " sample_size=" + std::to_string(1000 + i) +
           " sample_flags=0x00010000 sample_composition_time_offset=" + std::to_string(-1 - i) + "}";
  };
  const std::string four = sample(0) + ", " + sample(1) + ", " + sample(2) + ", " + sample(3);
  EXPECT_EQ(printStored(run, join({stored, samples}), FieldStyle::Text), start + four + ", ... 5 in all]");
  EXPECT_EQ(printStored(run, join({stored, samples}), FieldStyle::FullText),
            start + four + ", " + sample(4) + "]");
  const auto json =
      nlohmann::json::parse("{" + printStored(run, join({stored, samples}), FieldStyle::Json) + "}");
  ASSERT_EQ(json["samples"].size(), 5u);
  EXPECT_EQ(
      json["samples"][4].dump(),
      R"({"sample_composition_time_offset":-5,"sample_duration":44,"sample_flags":"0x00010000","sample_size":1004})");
  // In version 0 the offsets have no sign.
  Bytes unsignedOffset = join({u32(0x800), u32(1), u32(0xFFFFFFFF)});
  EXPECT_EQ(printStored(run, unsignedOffset, FieldStyle::Text),
            "version=0 flags=0x000800 sample_count=1 "
            "samples=[{sample_composition_time_offset=4294967295}]");
  EXPECT_EQ(printStored(run, join({u32(0x800), u32(0)}), FieldStyle::Text),
            "version=0 flags=0x000800 sample_count=0 samples=[]");
}

// Lengths of one byte and of four, each the number that it is, whatever the descriptor has.
TEST(FieldPrinter, LengthsOfDescriptorsArePrintedAsStored) {
  mp4::ESDBox descriptor;
  const Bytes stored = join({u32(0), u8(3), u32(0x80808019), u16(1), u8(0), u8(4), u8(17), u8(0x40), u8(0x15),
                             zeros(11), u8(5), u8(2), u16(0x1190), u8(6), u8(1), u8(2)});
  EXPECT_EQ(printStored(descriptor, stored, FieldStyle::Text),
            "version=0 flags=0x000000 tag=0x03 length=25 ES_ID=1 flags_2=0x00 tag_2=0x04 length_2=17 "
            "objectTypeIndication=0x40 streamType=0x15 bufferSizeDB=0 maxBitrate=0 avgBitrate=0 tag_3=0x05 "
            "length_3=2 decoderSpecificInfo=\"1190\" extension=\"\" extension_2=\"060102\"");
  Bytes overlong = stored;
  overlong[8] = 0x7F;
  EXPECT_NE(printStored(descriptor, overlong, FieldStyle::Json).find("\"length\": 127"), std::string::npos);
}

TEST(FieldPrinter, TextShowsShortListsInFull) {
  Lists lists(1);
  lists.entries[0].inner.clear();
  EXPECT_EQ(print(lists, FieldStyle::Text), "entry=[{value=0}] words=[9] bytes=\"ab\" last=1");
  Lists none(0);
  EXPECT_EQ(print(none, FieldStyle::Text), "words=[] bytes=\"\" last=1");
}

}  // namespace

}  // namespace fmp4
