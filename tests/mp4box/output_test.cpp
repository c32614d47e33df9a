#include "mp4box/output.h"

#include <gmock/gmock.h>

#include "base/fourcc.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

Bytes descrLength(std::uint32_t value, bool sized) {
  Mp4MemoryOutput out;
  const unsigned count = Mp4WriteDescrLength(out, value, sized, true);
  EXPECT_EQ(count, out.bytes.size());
  return out.bytes;
}

TEST(WriteNumbers, BigEndianMostSignificantByteFirst) {
  Mp4MemoryOutput out;
  EXPECT_TRUE(Mp4WriteU8(out, 0x12));
  EXPECT_TRUE(Mp4WriteU16(out, 0x3456));
  EXPECT_TRUE(Mp4WriteU24(out, 0x789ABC));
  EXPECT_TRUE(Mp4WriteU32(out, 0xDEF01234));
  EXPECT_TRUE(Mp4WriteU64(out, 0x56789ABCDEF01234));
  EXPECT_THAT(out.bytes, ElementsAre(0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x56, 0x78,
                                     0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34));
}

TEST(WriteNumbers, TwentyFourBitsDropHigherBits) {
  Mp4MemoryOutput out;
  EXPECT_TRUE(Mp4WriteU24(out, 0xFF010203));
  EXPECT_THAT(out.bytes, ElementsAre(1, 2, 3));
}

TEST(WriteBytes, AsTheyAre) {
  Mp4MemoryOutput out;
  EXPECT_TRUE(Mp4WriteBytes(out, "avc1", 4));
  EXPECT_TRUE(Mp4WriteBytes(out, "", 0));
  EXPECT_EQ(out.bytes, text("avc1"));
}

TEST(WriteDescrLength, TakesAsFewBytesAsTheValueNeeds) {
  EXPECT_THAT(descrLength(0, true), ElementsAre(0x00));
  EXPECT_THAT(descrLength(127, true), ElementsAre(0x7F));
  EXPECT_THAT(descrLength(128, true), ElementsAre(0x81, 0x00));
  EXPECT_THAT(descrLength(16383, true), ElementsAre(0xFF, 0x7F));
  EXPECT_THAT(descrLength(16384, true), ElementsAre(0x81, 0x80, 0x00));
  EXPECT_THAT(descrLength(2097151, true), ElementsAre(0xFF, 0xFF, 0x7F));
  EXPECT_THAT(descrLength(2097152, true), ElementsAre(0x81, 0x80, 0x80, 0x00));
  EXPECT_THAT(descrLength(0x0FFFFFFF, true), ElementsAre(0xFF, 0xFF, 0xFF, 0x7F));
}

TEST(WriteDescrLength, TakesFourBytesWhenNotSized) {
  EXPECT_THAT(descrLength(0, false), ElementsAre(0x80, 0x80, 0x80, 0x00));
  EXPECT_THAT(descrLength(127, false), ElementsAre(0x80, 0x80, 0x80, 0x7F));
  EXPECT_THAT(descrLength(128, false), ElementsAre(0x80, 0x80, 0x81, 0x00));
  EXPECT_THAT(descrLength(2097152, false), ElementsAre(0x81, 0x80, 0x80, 0x00));
}

TEST(WriteDescrLength, OnlyCountsWhenNotEmitting) {
  Mp4MemoryOutput out;
  EXPECT_EQ(Mp4WriteDescrLength(out, 127, true, false), 1u);
  EXPECT_EQ(Mp4WriteDescrLength(out, 128, true, false), 2u);
  EXPECT_EQ(Mp4WriteDescrLength(out, 16384, true, false), 3u);
  EXPECT_EQ(Mp4WriteDescrLength(out, 2097152, true, false), 4u);
  EXPECT_EQ(Mp4WriteDescrLength(out, 5, false, false), 4u);
  EXPECT_TRUE(out.bytes.empty());
}

TEST(WriteBox, SizeIsPatchedInWhenTheBoxEnds) {
  Mp4MemoryOutput out;
  Mp4BoxMark mark;
  mark.end = 77;
  Mp4BoxBegin(out, mark, Mp4FourCc("mfhd"));
  EXPECT_EQ(out.bytes, boxOfSize(0, "mfhd"));
  EXPECT_EQ(mark.start, 0u);
  EXPECT_EQ(mark.end, 0u);
  Mp4WriteU32(out, 0);
  Mp4WriteU32(out, 7);
  Mp4BoxEnd(out, mark);
  EXPECT_EQ(mark.end, 16u);
  EXPECT_EQ(out.tell(), 16u);
  EXPECT_EQ(out.bytes, fullBox("mfhd", 0, 0, {u32(7)}));
}

TEST(WriteBox, BoxesNest) {
  Mp4MemoryOutput out;
  Mp4WriteU8(out, 0xAA);
  Mp4BoxMark outer, first, second;
  Mp4BoxBegin(out, outer, Mp4FourCc("moof"));
  Mp4BoxBegin(out, first, Mp4FourCc("mfhd"));
  Mp4WriteU64(out, 1);
  Mp4BoxEnd(out, first);
  Mp4BoxBegin(out, second, Mp4FourCc("traf"));
  Mp4BoxEnd(out, second);
  Mp4BoxEnd(out, outer);
  EXPECT_EQ(out.bytes, join({u8(0xAA), box("moof", {box("mfhd", {u64(1)}), box("traf")})}));
  EXPECT_EQ(outer.start, 1u);
  EXPECT_EQ(outer.end, 33u);
}

// Reports the position it is given, so that a box of 4 GiB need not be written.
class FarOutput : public Mp4MemoryOutput {
 public:
  std::uint64_t tell() override { return far + Mp4MemoryOutput::tell(); }
  bool seek(std::uint64_t offset) override {
    return Mp4MemoryOutput::seek(std::min<std::uint64_t>(offset, 0));
  }
  std::uint64_t far = 0;
};

TEST(WriteBox, SizeOfFourGibibytesAndMoreIsTruncatedTo32Bits) {
  FarOutput out;
  Mp4BoxMark mark;
  Mp4BoxBegin(out, mark, Mp4FourCc("mdat"));
  out.far = 0x100000000;
  Mp4BoxEnd(out, mark);
  EXPECT_EQ(mark.end, 0x100000008u);
  EXPECT_EQ(out.bytes, box("mdat"));
}

// Fails the first `failures` writes.
class FailingOutput : public Mp4MemoryOutput {
 public:
  explicit FailingOutput(int failures) : failures_(failures) {}
  bool write(const void* bytes, std::uint32_t count) override {
    return failures_-- <= 0 && Mp4MemoryOutput::write(bytes, count);
  }

 private:
  int failures_;
};

TEST(WriteBox, TypeIsSkippedWhenThePlaceholderFails) {
  FailingOutput out(1);
  Mp4BoxMark mark;
  Mp4BoxBegin(out, mark, Mp4FourCc("moof"));
  EXPECT_TRUE(out.bytes.empty());
}

TEST(WriteNumbers, FailureIsTheResult) {
  FailingOutput out(6);
  EXPECT_FALSE(Mp4WriteBytes(out, "moof", 4));
  EXPECT_FALSE(Mp4WriteU8(out, 1));
  EXPECT_FALSE(Mp4WriteU16(out, 1));
  EXPECT_FALSE(Mp4WriteU24(out, 1));
  EXPECT_FALSE(Mp4WriteU32(out, 1));
  EXPECT_FALSE(Mp4WriteU64(out, 1));
}

TEST(MemoryOutput, OverwritesAndExtends) {
  Mp4MemoryOutput out;
  EXPECT_TRUE(out.write("abcd", 4));
  EXPECT_TRUE(out.seek(2));
  EXPECT_EQ(out.tell(), 2u);
  EXPECT_TRUE(out.write("XYZ", 3));
  EXPECT_EQ(out.bytes, text("abXYZ"));
  EXPECT_EQ(out.tell(), 5u);
  EXPECT_FALSE(out.seek(6));
  EXPECT_EQ(out.tell(), 5u);
  EXPECT_TRUE(out.seek(5));
}

TEST(MemoryOutput, FailsAfterItsBytesAreTakenUntilASeek) {
  Mp4MemoryOutput out;
  EXPECT_TRUE(out.write("abcd", 4));
  out.bytes.clear();
  EXPECT_FALSE(out.write("e", 1));
  EXPECT_TRUE(out.seek(0));
  EXPECT_TRUE(out.write("e", 1));
  EXPECT_EQ(out.bytes, text("e"));
}

}  // namespace

}  // namespace fmp4
