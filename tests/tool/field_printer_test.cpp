#include "tool/terminal/field_printer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace fmp4 {

namespace {

std::string print(Mp4Payload& payload, FieldStyle style) {
  std::ostringstream out;
  printFields(out, payload, style);
  return out.str();
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
    f.rest("bytes", bytes);
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

TEST(FieldPrinter, TextShowsShortListsInFull) {
  Lists lists(1);
  lists.entries[0].inner.clear();
  EXPECT_EQ(print(lists, FieldStyle::Text), "entry=[{value=0}] words=[9] bytes=\"ab\" last=1");
  Lists none(0);
  EXPECT_EQ(print(none, FieldStyle::Text), "words=[] bytes=\"\" last=1");
}

}  // namespace

}  // namespace fmp4
