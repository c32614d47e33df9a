// The visitors that read and write fields.
#include <gmock/gmock.h>

#include <array>

#include "mp4box/field_reader.h"
#include "mp4box/field_writer.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FieldReader, ReadsBigEndianNumbers) {
  const Bytes bytes = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x11,
                       0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0xFF, 0xFE, 0xFF, 0xFF};
  Mp4FieldReader fields(bytes);
  std::uint8_t a = 0;
  std::uint16_t b = 0;
  std::uint32_t c = 0, d = 0;
  std::uint64_t e = 0;
  std::int16_t f = 0, g = 0;
  fields.u8("a", a);
  fields.u16("b", b);
  fields.u24("c", c);
  fields.u32("d", d);
  fields.u64("e", e);
  fields.i16("f", f);
  fields.i16("g", g);
  EXPECT_EQ(a, 0x01);
  EXPECT_EQ(b, 0x0203);
  EXPECT_EQ(c, 0x040506u);
  EXPECT_EQ(d, 0x0708090Au);
  EXPECT_EQ(e, 0x1112131415161718u);
  EXPECT_EQ(f, -2);
  EXPECT_EQ(g, -1);
  EXPECT_EQ(fields.remaining(), 0u);
  EXPECT_EQ(fields.consumed(), 22u);
}

TEST(FieldReader, ReadsZeroFromTheFirstFieldThatDoesNotFitOn) {
  const Bytes bytes = {1, 2, 3};
  Mp4FieldReader fields(bytes);
  std::uint8_t first = 9, last = 9;
  std::uint32_t wide = 9;
  fields.u8("first", first);
  fields.u32("wide", wide);
  fields.u8("last", last);  // two bytes remain, but after a field that did not fit
  EXPECT_EQ(first, 1);
  EXPECT_EQ(wide, 0u);
  EXPECT_EQ(last, 0);
  EXPECT_EQ(fields.remaining(), 0u);
  EXPECT_EQ(fields.consumed(), 3u);
}

TEST(FieldReader, ClearsBytesThatDoNotFit) {
  const Bytes bytes = {1, 2, 3};
  Mp4FieldReader fields(bytes);
  std::array<std::uint8_t, 4> four = {7, 7, 7, 7};
  fields.bytes("four", four);
  EXPECT_THAT(four, ElementsAre(0, 0, 0, 0));
  EXPECT_EQ(fields.remaining(), 0u);
}

TEST(FieldReader, TruncatesABlobToTheBytesPresent) {
  const Bytes bytes = {1, 2, 3};
  Mp4FieldReader fields(bytes);
  std::vector<std::uint8_t> blob;
  fields.blob("blob", blob, ~std::uint64_t{0});
  EXPECT_THAT(blob, ElementsAre(1, 2, 3));
  fields.rest("blob", blob);
  EXPECT_THAT(blob, IsEmpty());
}

TEST(FieldReader, EndsATextAtItsZeroOrThePayloadsEnd) {
  const Bytes bytes = {'a', 'b', 0, 0, 'c'};
  Mp4FieldReader fields(bytes);
  std::string text;
  fields.text("text", text);
  EXPECT_EQ(text, "ab");
  fields.text("text", text);
  EXPECT_EQ(text, "");
  fields.text("text", text);
  EXPECT_EQ(text, "c");
  fields.text("text", text);
  EXPECT_EQ(text, "");
}

TEST(FieldReader, ReadsCompleteWordsAndNothingAfterAMissingOne) {
  const Bytes bytes = {0, 0, 0, 1, 0, 0, 0, 2, 5, 6};
  Mp4FieldReader fields(bytes);
  std::vector<std::uint32_t> words;
  fields.words("words", words, ~std::uint64_t{0});
  EXPECT_THAT(words, ElementsAre(1u, 2u));
  std::uint8_t byte = 9;
  fields.u8("byte", byte);
  EXPECT_EQ(byte, 0);
}

TEST(FieldReader, MakesNoMoreEntriesThanTheBytesAllow) {
  const Bytes bytes = {1, 2, 3, 4, 5};
  Mp4FieldReader fields(bytes);
  std::vector<std::uint16_t> entries;
  fields.entries("entry", entries, 0xFFFFFFFF, 2,
                 [&fields](std::uint16_t& entry) { fields.u16("value", entry); });
  EXPECT_THAT(entries, ElementsAre(0x0102, 0x0304));
}

TEST(FieldReader, PeeksWithoutConsuming) {
  const Bytes bytes = {1, 2, 3, 4, 5};
  Mp4FieldReader fields(bytes);
  fields.reserved(1);
  EXPECT_EQ(fields.peek(0), 2);
  EXPECT_EQ(fields.peek(3), 5);
  EXPECT_EQ(fields.peek(4), 0);
  EXPECT_EQ(fields.peek(~std::uint64_t{0}), 0);
  EXPECT_EQ(fields.peekU32(0), 0x02030405u);
  EXPECT_EQ(fields.peekU32(2), 0x04050000u);
  EXPECT_EQ(fields.consumed(), 1u);
}

TEST(FieldReader, SplitsPackedNumbersFromTheTopBit) {
  const Bytes bytes = {0xA0, 0x00, 0x00, 0x07};
  Mp4FieldReader fields(bytes);
  std::uint32_t a = 0, b = 0, c = 0;
  fields.packed(4, {{"a", a, 1}, {"b", b, 3}, {"c", c, 28}});
  EXPECT_EQ(a, 1u);
  EXPECT_EQ(b, 2u);
  EXPECT_EQ(c, 7u);
}

TEST(FieldWriter, WritesEveryKindOfField) {
  Mp4MemoryOutput out;
  Mp4FieldWriter fields(out);
  std::uint8_t u8 = 1;
  std::uint16_t u16 = 0x0203;
  std::uint32_t u24 = 0xAB040506, u32 = 0x0708090A;
  std::uint64_t u64 = 0x1112131415161718;
  std::int32_t i32 = -2;
  fields.u8("", u8);
  fields.u16("", u16);
  fields.u24("", u24);
  fields.u32("", u32);
  fields.u64("", u64);
  fields.i32("", i32);
  fields.u32or64("", u64, false);
  fields.u32or64("", u64, true);
  fields.reserved(2);
  std::string word = "ab";
  fields.text("", word);
  fields.characters("", word, 1);
  std::vector<std::uint8_t> blob = {7, 8, 9};
  fields.blob("", blob, 2);
  std::vector<std::uint32_t> words = {1, 0x80000000, 3};
  fields.words("", words, 2);
  std::uint32_t one = 1, rest = 0xFFFFFFFF;  // bits beyond the width of a packed field are not written
  fields.packed(2, {{"", one, 4}, {"", rest, 12}});
  EXPECT_EQ(out.bytes, (Bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x11, 0x12, 0x13,
                              0x14, 0x15, 0x16, 0x17, 0x18, 0xFF, 0xFF, 0xFF, 0xFE, 0x15, 0x16, 0x17, 0x18,
                              0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0,    0,    'a',  'b',  0,
                              'a',  7,    8,    0,    0,    0,    1,    0x80, 0,    0,    0,    0x1F, 0xFF}));
}

TEST(FieldReader, SaysWhichFieldsGoPastTheEnd) {
  const Bytes bytes = {'a', 'b', 'c'};
  std::vector<std::uint8_t> blob;
  std::string text;
  Mp4FieldReader complete(bytes), longer(bytes), open(bytes);
  complete.blob("blob", blob, 3);
  EXPECT_TRUE(complete.result().ok());
  longer.blob("blob", blob, 4);
  EXPECT_FALSE(longer.result().ok());
  // A text may end with its box.
  open.text("text", text);
  EXPECT_EQ(text, "abc");
  EXPECT_TRUE(open.result().ok());
  EXPECT_EQ(open.consumed(), 3u);
}

}  // namespace

}  // namespace fmp4
