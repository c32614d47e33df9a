// The names of what is wrong with boxes, and where the tree says it is.
#include <gtest/gtest.h>

#include "mp4box/field_reader.h"
#include "mp4box/fragment_tree.h"
#include "mp4box/top_level_reader.h"
#include "tests/mp4box/tree_file.h"

namespace fmp4 {

namespace {

// "code offset type, ...", in the order of reading; without a type: the header could not be read.
std::string textOf(const Mp4DefectList& defects) {
  std::string text;
  for (const Mp4BoxDefect& found : defects.kept()) {
    if (!text.empty()) text += ", ";
    text += std::string(defectCode(found.defect)) + ' ' + std::to_string(found.offset);
    if (found.type != 0) text += ' ' + typeName(Mp4Box{.type = found.type});
  }
  return text;
}

std::string defectsOf(const Bytes& bytes) {
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  return textOf(FileTree(stream, true).reader().defects());
}

TEST(TreeDefects, AnIntactFileHasNone) {
  EXPECT_EQ(defectsOf(join({ftypBox(), box("moov", {mvhdBox(), box("trak", {tkhdBox()})}), moofBox(1),
                            box("mdat", {zeros(10)})})),
            "");
  EXPECT_EQ(defectsOf({}), "");
}

TEST(TreeDefects, OfHeaders) {
  EXPECT_EQ(defectsOf(join({ftypBox(), zeros(3)})), "box-header-truncated 16");
  EXPECT_EQ(defectsOf(join({ftypBox(), boxOfSize(1, "mdat")})), "box-header-truncated 16 mdat");
  EXPECT_EQ(defectsOf(join({ftypBox(), boxOfSize(7, "mdat"), zeros(20)})), "box-size-below-header 16 mdat");
  EXPECT_EQ(defectsOf(join({ftypBox(), largeBoxOfSize(0, "mdat")})), "box-size-below-header 16 mdat");
  EXPECT_EQ(defectsOf(join({ftypBox(), largeBoxOfSize(~0ull, "mdat")})), "box-size-past-64-bits 16 mdat");
  EXPECT_EQ(defectsOf(join({ftypBox(), boxOfSize(0, "mdat"), zeros(20)})), "box-size-zero 16 mdat");
}

TEST(TreeDefects, BytesOfZeroAtTheEndOfALevelAreNone) {
  EXPECT_EQ(defectsOf(box("moov", {mvhdBox(), box("udta", {box("name", {text("x")}), zeros(4)})})), "");
  EXPECT_EQ(defectsOf(box("moov", {mvhdBox(), zeros(20)})), "");
  EXPECT_EQ(defectsOf(box("moov", {mvhdBox(), boxOfSize(0, "trak"), zeros(20)})), "box-size-zero 116 trak");
}

TEST(TreeDefects, OfBoxesPastTheirFileOrParent) {
  EXPECT_EQ(defectsOf(join({ftypBox(), boxOfSize(100, "mdat")})), "box-past-file 16 mdat") << "kept";
  EXPECT_EQ(defectsOf(join({ftypBox(), boxOfSize(100, "sidx")})), "box-past-file 16 sidx") << "dropped";
  EXPECT_EQ(defectsOf(boxOfSize(1000, "moov", {mvhdBox(), boxOfSize(92, "tkhd")})),
            "box-past-file 0 moov, box-past-file 116 tkhd");
  EXPECT_EQ(defectsOf(join({box("moov", {mvhdBox(), boxOfSize(20, "free")}), ftypBox()})),
            "box-past-parent 116 free");
}

TEST(TreeDefects, OfLimits) {
  Bytes deep = zeros(16);
  for (int i = 0; i < 40; ++i) deep = box("moov", {deep});
  EXPECT_EQ(defectsOf(deep), "boxes-nested-too-deep 256 moov");

  EXPECT_EQ(defectsOf(repeat(box("free"), 450001)), "too-many-boxes 3600000 free");

  // Each of the first ones is read to the end of the file again.
  const Bytes track = boxOfSize(17, "trak", {boxOfSize(400, "avcC"), u8(0)});
  const Bytes moov = box("moov", {repeat(track, 100)});
  Mp4MemoryStream stream(moov.data(), moov.size());
  const FileTree tree(stream, true);
  EXPECT_EQ(tree.reader().defects().count(), 100u);
  EXPECT_EQ(textOf(tree.reader().defects()).find("boxes-overrun-parents"), std::string::npos)
      << "a box is listed once, by what was found first";
  Mp4TopLevelReader reader(stream);
  Mp4BoxPtr box;
  reader.readUpTo(0);
  Mp4Box* const trak = reader.root()->first->first;
  stream.seek(trak->position + 8);
  EXPECT_EQ(Mp4ReadBox(stream, trak, box), Defect::BoxesOverrunParents);
}

TEST(TreeDefects, OfPayloads) {
  EXPECT_EQ(defectsOf(box("moov", {box("mvhd", {zeros(50)})})), "payload-truncated 8 mvhd");
  EXPECT_EQ(defectsOf(box("stbl", {fullBox("stts", 0, 0, {u32(3), zeros(16)})})), "count-past-box 8 stts");
  EXPECT_EQ(defectsOf(box("stbl", {fullBox("stco", 0, 0, {u32(3), zeros(8)})})), "count-past-box 8 stco");
  EXPECT_EQ(defectsOf(box("moov", {mvhdBox(), box("cmov", {box("dcom", {u32(0)})}), box("trak")})),
            "compressed-movie 116 cmov");
}

TEST(TreeDefects, ARepeatedSampleEntryTypeInsideASampleEntryHasNoFields) {
  const Bytes wave = box("wave", {box("frma", {text("mp4a")}), box("mp4a", {zeros(4)})});
  EXPECT_EQ(defectsOf(box("stbl", {wave})), "");
}

TEST(TreeDefects, ASampleEntryNamedLikeTheRootIsNoRoot) {
  const Bytes handler = fullBox("hdlr", 0, 0, {u32(0), text("vide"), zeros(13)});
  const Bytes entry = box("root", {zeros(78), boxOfSize(100, "free")});
  const Bytes table = box("stbl", {fullBox("stsd", 0, 0, {u32(1), entry}), zeros(100)});
  EXPECT_EQ(defectsOf(box("mdia", {handler, box("minf", {table})})), "box-past-parent 159 free");
}

TEST(TreeDefects, TheFirst64AreKeptAndAllAreCounted) {
  const Bytes bytes = repeat(box("mvhd", {zeros(50)}), 100);
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  const FileTree tree(stream, true);
  EXPECT_EQ(tree.reader().defects().count(), 100u);
  ASSERT_EQ(tree.reader().defects().kept().size(), 64u);
  EXPECT_EQ(tree.reader().defects().kept().back().offset, 63u * 58);
}

TEST(TopLevelReader, ReturnsWhyItEnds) {
  const Bytes entire = join({ftypBox(), box("free")});
  Mp4MemoryStream stream(entire.data(), entire.size());
  Mp4TopLevelReader reader(stream);
  EXPECT_TRUE(reader.readNext().ok());
  EXPECT_EQ(reader.nextOffset(), 16u);
  EXPECT_TRUE(reader.readNext().ok());
  EXPECT_EQ(reader.readNext(), Defect::EndOfData);

  const Bytes damaged = join({ftypBox(), boxOfSize(7, "free"), box("free")});
  Mp4MemoryStream other(damaged.data(), damaged.size());
  Mp4TopLevelReader stopped(other);
  EXPECT_TRUE(stopped.readNext().ok());
  EXPECT_EQ(stopped.readNext(), Defect::BoxSizeBelowHeader);
  EXPECT_EQ(stopped.readNext(), Defect::EndOfData) << "nothing is tried again";
}

TEST(TopLevelReader, PassesBoxesThatNeverJoinTheTree) {
  const Bytes bytes = join({ftypBox(), moofBox(1), boxOfSize(100, "mdat")});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  Mp4TopLevelReader reader(stream);
  std::string passed;
  while (reader.passNext([&passed](Mp4Stream&, const Mp4Box& header) { passed += typeName(header) + ' '; })
             .ok()) {
  }
  EXPECT_EQ(passed, "ftyp moof mdat ");
  EXPECT_EQ(reader.root()->first, nullptr);
  EXPECT_EQ(textOf(reader.defects()), "box-past-file 88 mdat");
}

TEST(TopLevelReader, PassesTheExtendedTypesOfBoxes) {
  const Bytes id = text("0123456789abcdef"), bytes = box("uuid", {id});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  Mp4TopLevelReader reader(stream);
  Bytes passed;
  ASSERT_TRUE(reader
                  .passNext([&passed](Mp4Stream&, const Mp4Box& header) {
                    passed.assign(std::begin(header.uuid), std::end(header.uuid));
                  })
                  .ok());
  EXPECT_EQ(passed, id);
}

class FailingStream : public Mp4MemoryStream {
 public:
  using Mp4MemoryStream::Mp4MemoryStream;
  std::int64_t peek(void*, std::int64_t) override { return 0; }
};

TEST(TopLevelReader, AFileThatCannotBeReadIsNotAtItsEnd) {
  const Bytes bytes = ftypBox();
  FailingStream stream(bytes.data(), bytes.size());
  Mp4TopLevelReader reader(stream);
  EXPECT_EQ(reader.readNext(), Defect::ReadFailed);
  EXPECT_EQ(textOf(reader.defects()), "read-failed 0");
}

TEST(FragmentTree, SaysWhyItCannotBeRead) {
  const Bytes bytes = join({moofBox(1), boxOfSize(7, "moof")});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  std::unique_ptr<Mp4Tree> tree;
  EXPECT_TRUE(Mp4ReadFragmentTree(stream, 0, bytes.size(), tree).ok());
  ASSERT_NE(tree, nullptr);
  EXPECT_EQ(tree->readNext(), Defect::EndOfData) << "it is complete";
  EXPECT_EQ(Mp4ReadFragmentTree(stream, 72, bytes.size(), tree), Defect::BoxSizeBelowHeader);
  EXPECT_EQ(tree, nullptr);
  EXPECT_EQ(Mp4ReadFragmentTree(stream, 1000, bytes.size(), tree), Defect::ReadFailed);
}

TEST(FieldReader, ReportsTheFirstReasonWhyAFieldDoesNotFit) {
  const Bytes bytes = {0, 0, 0, 1, 5, 6};
  std::uint32_t number = 0;
  std::vector<std::uint32_t> words;
  Mp4FieldReader fits(bytes);
  fits.u32("number", number);
  EXPECT_TRUE(fits.result().ok());
  Mp4FieldReader counted(bytes);
  counted.words("words", words, 2);
  counted.u32("number", number);
  EXPECT_EQ(counted.result(), Defect::CountPastBox);
  Mp4FieldReader cut(bytes);
  cut.u64("number", *std::make_unique<std::uint64_t>());
  EXPECT_EQ(cut.result(), Defect::PayloadTruncated);
  Mp4FieldReader toTheEnd(bytes);
  std::vector<std::uint16_t> entries;
  toTheEnd.entries("entry", entries, Mp4Fields::kToTheEnd, 2,
                   [&toTheEnd](std::uint16_t& entry) { toTheEnd.u16("value", entry); });
  EXPECT_TRUE(toTheEnd.result().ok());
}

}  // namespace

}  // namespace fmp4
