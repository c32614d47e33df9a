// Reading trees of boxes, well-formed and hostile.
#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <memory>

#include "mp4box/box.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/audio_entry.h"
#include "mp4box/boxes/mvhd.h"
#include "mp4box/boxes/text_entry.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/timed_text_entry.h"
#include "mp4box/boxes/visual_entry.h"
#include "mp4box/file_bytes.h"
#include "tests/mp4box/tree_file.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

std::string treeOf(const Bytes& bytes) {
  TreeFile file(bytes);
  return childrenOf(*file.root());
}

std::uint64_t boxesIn(const Mp4Box& box) {
  std::uint64_t count = 0;
  for (const Mp4Box* child = box.first; child; child = child->next) count += 1 + boxesIn(*child);
  return count;
}

unsigned depthOf(const Mp4Box& box) {
  unsigned depth = 0;
  for (const Mp4Box* child = box.first; child; child = child->next)
    depth = std::max(depth, 1 + depthOf(*child));
  return depth;
}

// ---- The root ---------------------------------------------------------------------------------------

TEST(ReadRoot, StopsAfterTheFirstMovieBox) {
  const Bytes bytes = join({ftypBox(), box("moov", {mvhdBox(), box("trak", {tkhdBox()})}), moofBox(1),
                            box("mdat", {zeros(10)}), box("moov", {mvhdBox()})});
  TreeFile file(bytes);
  const FileTree root = file.root(false);
  EXPECT_EQ(childrenOf(*root), "ftyp moov(mvhd trak(tkhd))");
  EXPECT_EQ(root->type, Mp4FourCc("root"));
  EXPECT_EQ(root->shortsize, 1u);
  EXPECT_EQ(root->position, 0u);
  EXPECT_EQ(root->size, bytes.size());
  EXPECT_EQ(root->father, nullptr);
}

TEST(ReadRoot, ReadsAllOfTheTopLevel) {
  const Bytes bytes = join(
      {ftypBox(), box("moov", {mvhdBox()}), moofBox(1), box("mdat", {zeros(10)}), box("moov", {mvhdBox()})});
  EXPECT_EQ(treeOf(bytes), "ftyp moov(mvhd) moof(mfhd traf(tfhd trun free)) mdat moov(mvhd)");
}

TEST(ReadRoot, WithoutAMovieBoxReadsAllOfTheTopLevel) {
  TreeFile file(join({ftypBox(), moofBox(1), box("mdat")}));
  EXPECT_EQ(childrenOf(*file.root(false)), "ftyp moof(mfhd traf(tfhd trun free)) mdat");
}

TEST(ReadRoot, OfAnEmptyFileHasNoChildren) {
  TreeFile file(Bytes{});
  const FileTree root = file.root();
  EXPECT_EQ(root->size, 0u);
  EXPECT_EQ(root->first, nullptr);
  EXPECT_EQ(root->last, nullptr);
}

TEST(ReadRoot, OfAClosedStreamHasNoChildren) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  Mp4Stream stream;
  const FileTree root(stream, true);
  vlSetLogSink(nullptr, nullptr);
  EXPECT_EQ(root->size, 0u);
  EXPECT_EQ(root->first, nullptr);
}

TEST(ReadRoot, BoxesKnowTheirOffsetParentAndSiblings) {
  TreeFile file(join({ftypBox(), box("moov", {mvhdBox(), box("trak", {tkhdBox()})})}));
  const FileTree root = file.root();
  const Mp4Box* ftyp = root->first;
  const Mp4Box* moov = ftyp->next;
  EXPECT_EQ(root->last, moov);
  EXPECT_EQ(moov->position, 16u);
  EXPECT_EQ(moov->shortsize, 8u + 108 + 100);
  EXPECT_EQ(moov->size, 8u + 108 + 100);
  EXPECT_EQ(moov->end(), 16u + 8 + 108 + 100);
  EXPECT_EQ(moov->father, root.get());
  EXPECT_EQ(moov->next, nullptr);
  EXPECT_EQ(moov->first->position, 24u);
  EXPECT_EQ(moov->first->father, moov);
  EXPECT_EQ(moov->first->next, moov->last);
  EXPECT_EQ(moov->last->first->position, 24u + 108 + 8);
}

TEST(ReadRoot, FromTheBufferedStreamGivesTheSameTree) {
  Bytes bytes = join(
      {ftypBox(), box("moov", {mvhdBox(), box("trak", {tkhdBox()})}), box("free", {mvhdBox(), box("udta")})});
  // Across the ends of several buffers.
  for (std::uint32_t i = 0; i < 4; ++i)
    bytes = join({bytes, moofBox(i), box("mdat", {zeros(0x9FFFF0 / 2 + i)})});
  TreeFile file(bytes);
  auto plain = std::make_unique<Mp4Stream>();
  plain->open(file.path().c_str(), MP4_MODE_READ);
  Mp4BufferedStream buffered(std::move(plain));
  for (const bool readAll : {false, true}) {
    const FileTree root = file.root(readAll);
    const FileTree same(buffered, readAll);
    for (unsigned long i = 0; i < 5; ++i) {
      const Mp4Box* moof = Mp4BoxGet(&file.stream, root.get(), false, "moof[%lu]", i);
      const Mp4Box* sameMoof = Mp4BoxGet(&buffered, same.get(), false, "moof[%lu]", i);
      ASSERT_EQ(moof != nullptr, i < 4);
      ASSERT_EQ(sameMoof != nullptr, i < 4);
      if (moof) {
        EXPECT_EQ(moof->position, sameMoof->position);
      }
    }
    EXPECT_EQ(childrenOf(*same), childrenOf(*root));
    EXPECT_EQ(childCount(*same), 11u);
  }
}

TEST(ReadRoot, FromMemoryGivesTheSameTree) {
  const Bytes bytes = join({ftypBox(), box("moov", {mvhdBox(), box("trak", {tkhdBox()})}), moofBox(1)});
  Mp4MemoryStream memory(bytes.data(), bytes.size());
  const FileTree root(memory, true);
  EXPECT_EQ(root->size, bytes.size());
  EXPECT_EQ(childrenOf(*root), treeOf(bytes));
}

TEST(ReadRoot, TakesFewHostReads) {
  TreeFile file(join({ftypBox(), box("moov", {mvhdBox(), repeat(box("trak", {tkhdBox(), tkhdBox()}), 50)}),
                      moofBox(1), box("mdat", {zeros(1000)}), box("skip", {zeros(1000)})}));
  file.root();
  // The first two headers, the rest of each container with the header after it, and the header of the last
  // box.
  EXPECT_EQ(file.stream.reads, 5);
}

// ---- Headers ----------------------------------------------------------------------------------------

struct Header {
  Result read;
  Mp4Box box;
};

Header headerOf(const Bytes& bytes, std::uint64_t base = 0) {
  Mp4MemoryStream stream(bytes.data(), bytes.size(), base);
  Header header;
  header.read = Mp4ReadBoxHeader(stream, header.box);
  EXPECT_EQ(stream.tell(), base);
  return header;
}

TEST(BoxHeader, Of32BitSize) {
  const Header header = headerOf(box("mdat", {zeros(100)}), 1000);
  ASSERT_TRUE(header.read.ok());
  EXPECT_EQ(header.box.position, 1000u);
  EXPECT_EQ(header.box.type, 0x6D646174u);
  EXPECT_EQ(header.box.shortsize, 108u);
  EXPECT_EQ(header.box.size, 108u);
  EXPECT_EQ(Mp4BoxHeaderSize(header.box), 8u);
}

TEST(BoxHeader, Of64BitSize) {
  const Header header = headerOf(largeBoxOfSize(0x123456789A, "mdat"));
  ASSERT_TRUE(header.read.ok());
  EXPECT_EQ(header.box.shortsize, 1u);
  EXPECT_EQ(header.box.size, 0x123456789Au);
  EXPECT_EQ(Mp4BoxHeaderSize(header.box), 16u);
}

TEST(BoxHeader, OfExtendedType) {
  const Bytes id = text("0123456789abcdef");
  const Header small = headerOf(box("uuid", {id, zeros(3)}));
  ASSERT_TRUE(small.read.ok());
  EXPECT_EQ(Bytes(std::begin(small.box.uuid), std::end(small.box.uuid)), id);
  EXPECT_EQ(Mp4BoxHeaderSize(small.box), 24u);

  const Header large = headerOf(largeBox("uuid", {id, zeros(3)}));
  ASSERT_TRUE(large.read.ok());
  EXPECT_EQ(Bytes(std::begin(large.box.uuid), std::end(large.box.uuid)), id);
  EXPECT_EQ(large.box.size, 35u);
  EXPECT_EQ(Mp4BoxHeaderSize(large.box), 32u);
}

TEST(BoxHeader, OfAnyOtherTypeHasNoExtendedType) {
  const Header header = headerOf(box("mdat", {text("0123456789abcdef")}));
  EXPECT_THAT(header.box.uuid, testing::Each(0));
}

TEST(BoxHeader, NeedsEightBytes) {
  EXPECT_EQ(headerOf(Bytes{}).read, Defect::EndOfData);
  EXPECT_EQ(headerOf({0, 0, 0, 8, 'm', 'd', 'a'}).read, Defect::BoxHeaderTruncated);
  EXPECT_TRUE(headerOf(box("mdat")).read.ok());
}

TEST(BoxHeader, KeepsASizeOfZero) {
  const Header zero = headerOf(boxOfSize(0, "mdat"));
  EXPECT_TRUE(zero.read.ok());
  EXPECT_EQ(zero.box.size, 0u);
  // So does one whose 64-bit size is incomplete.
  const Header cut = headerOf(boxOfSize(1, "mdat", {u32(0), u24(1)}));
  EXPECT_TRUE(cut.read.ok());
  EXPECT_EQ(cut.box.size, 0u);
}

TEST(BoxHeader, FailsForASizeBelowItsOwn) {
  for (const std::uint32_t size : {2u, 7u})
    EXPECT_EQ(headerOf(boxOfSize(size, "mdat")).read, Defect::BoxSizeBelowHeader) << size;
  EXPECT_EQ(headerOf(largeBoxOfSize(15, "mdat")).read, Defect::BoxSizeBelowHeader);
  EXPECT_TRUE(headerOf(largeBoxOfSize(16, "mdat")).read.ok());
  EXPECT_EQ(headerOf(boxOfSize(23, "uuid", {zeros(16)})).read, Defect::BoxSizeBelowHeader);
  EXPECT_TRUE(headerOf(boxOfSize(24, "uuid", {zeros(16)})).read.ok());
  EXPECT_EQ(headerOf(largeBoxOfSize(31, "uuid", {zeros(16)})).read, Defect::BoxSizeBelowHeader);
}

TEST(BoxHeader, FailsForAnEndThat64BitsDoNotHold) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  EXPECT_TRUE(headerOf(largeBoxOfSize(kMax, "mdat")).read.ok());
  EXPECT_TRUE(headerOf(largeBoxOfSize(kMax - 100, "mdat"), 100).read.ok());
  EXPECT_EQ(headerOf(largeBoxOfSize(kMax - 99, "mdat"), 100).read, Defect::BoxSizePast64Bits);
  EXPECT_EQ(headerOf(largeBoxOfSize(kMax, "mdat"), 100).read, Defect::BoxSizePast64Bits);
}

TEST(SeekNextBox, ReportsDoneEndOrNoSize) {
  TreeFile file(join({box("mdat"), box("mdat"), box("mdat")}));
  Mp4Box father, child;
  father.size = 24;
  child.father = &father;
  child.size = 8;
  EXPECT_EQ(Mp4SeekNextBox(file.stream, child), Mp4NextBox::Sibling);
  EXPECT_EQ(file.stream.tell(), 8u);
  child.position = 8;
  child.size = 15;
  EXPECT_EQ(Mp4SeekNextBox(file.stream, child), Mp4NextBox::Sibling);
  EXPECT_EQ(file.stream.tell(), 23u);
  child.size = 16;
  EXPECT_EQ(Mp4SeekNextBox(file.stream, child), Mp4NextBox::None);
  child.size = 17;
  EXPECT_EQ(Mp4SeekNextBox(file.stream, child), Mp4NextBox::None);
  child.size = 0;
  EXPECT_EQ(Mp4SeekNextBox(file.stream, child), Mp4NextBox::Unsized);
  child.size = 8;
  child.father = nullptr;
  EXPECT_EQ(Mp4SeekNextBox(file.stream, child), Mp4NextBox::None);
}

TEST(ReadBox, OnItsOwn) {
  const Bytes bytes = join({ftypBox(), moofBox(1)});
  TreeFile file(bytes);
  file.stream.seek(16);
  Mp4BoxPtr moof;
  ASSERT_TRUE(Mp4ReadBox(file.stream, nullptr, moof).ok());
  EXPECT_EQ(childrenOf(*moof), "mfhd traf(tfhd trun free)");
  EXPECT_EQ(file.stream.reads, 2);
}

TEST(ReadBox, EndsWithinAParentThatIsInNoTree) {
  TreeFile file(join({zeros(8), box("free", {zeros(8)})}));
  Mp4Box father;
  father.type = box_type::kMoof;
  for (const auto& [size, expected] :
       {std::pair{24u, Result()}, std::pair{23u, Result(Defect::BoxPastParent)}}) {
    father.size = size;
    file.stream.seek(8);
    Mp4Box child;
    EXPECT_EQ(Mp4AdmitBox(file.stream, &father, child), expected) << size;
  }
}

TEST(ReadBox, DoesNotJoinItsParent) {
  TreeFile file(join({ftypBox(), moofBox(1)}));
  const FileTree root = file.root();
  file.stream.seek(16);
  Mp4BoxPtr moof;
  ASSERT_TRUE(Mp4ReadBox(file.stream, root.get(), moof).ok());
  EXPECT_EQ(moof->father, root.get());
  EXPECT_NE(root->last, moof.get());
  EXPECT_EQ(childCount(*root), 2u);
}

// ---- Levels -----------------------------------------------------------------------------------------

TEST(Level, EndsWithABoxOfSizeZero) {
  EXPECT_EQ(treeOf(join({ftypBox(), boxOfSize(0, "mdat", {zeros(100)})})), "ftyp");
  EXPECT_EQ(
      treeOf(join({box("moov", {mvhdBox(), boxOfSize(0, "udta"), box("trak", {tkhdBox()})}), ftypBox()})),
      "moov(mvhd) ftyp");
}

TEST(Level, EndsWithABoxWhoseSizeIsBelowItsHeader) {
  EXPECT_EQ(treeOf(join({ftypBox(), boxOfSize(7, "mdat"), ftypBox()})), "ftyp");
  EXPECT_EQ(treeOf(join({ftypBox(), largeBoxOfSize(15, "mdat"), ftypBox()})), "ftyp");
}

TEST(Level, EndsWithABoxThatReachesPast64Bits) {
  EXPECT_EQ(treeOf(join({ftypBox(), largeBoxOfSize(std::numeric_limits<std::uint64_t>::max(), "mdat")})),
            "ftyp");
  EXPECT_EQ(treeOf(join({ftypBox(), largeBoxOfSize(std::numeric_limits<std::uint64_t>::max() - 16, "mdat")})),
            "ftyp mdat");
  EXPECT_EQ(treeOf(join({ftypBox(), largeBoxOfSize(std::numeric_limits<std::uint64_t>::max() - 16, "moov"),
                         mvhdBox()})),
            "ftyp moov(mvhd)");
}

TEST(Level, EndsWithALeafThatFailed) {
  // "tkhd" claims more than the file has: it is absent; its parent stays, and so does what follows the
  // parent.
  EXPECT_EQ(
      treeOf(join({box("moov", {mvhdBox(), boxOfSize(5000, "tkhd"), box("trak", {tkhdBox()})}), ftypBox()})),
      "moov(mvhd) ftyp");
}

TEST(Level, EndsWithMediaDataThatReachesPastTheFile) {
  EXPECT_EQ(treeOf(join({ftypBox(), boxOfSize(5000, "mdat", {zeros(50)})})), "ftyp mdat");
}

TEST(Level, EndsWithAChildThatReachesPastItsParent) {
  // "tkhd" takes 8 bytes from after its "trak": it is read completely, and the "trak" ends with it; the
  // "moov" continues where the "trak" ended.
  const Bytes overrun = box("trak", {boxOfSize(108, "tkhd", {zeros(92)})});
  ASSERT_EQ(overrun.size(), 108u);
  const Bytes file = box("moov", {overrun, box("free"), box("trak", {tkhdBox()}), mvhdBox()});
  TreeFile tree(file);
  const FileTree root = tree.root();
  EXPECT_EQ(childrenOf(*root), "moov(trak(tkhd) free trak(tkhd) mvhd)");
  EXPECT_EQ(root->first->first->first->size, 108u);
}

TEST(Level, ChildOfTheTopLevelCannotReachPastItsBytes) {
  EXPECT_EQ(treeOf(join({box("moov", {mvhdBox(), boxOfSize(93, "tkhd", {zeros(84)})}), ftypBox()})),
            "moov(mvhd) ftyp");
  EXPECT_EQ(treeOf(join({box("moov", {mvhdBox(), boxOfSize(92, "tkhd", {zeros(84)})}), ftypBox()})),
            "moov(mvhd tkhd) ftyp");
}

// ---- Containers -------------------------------------------------------------------------------------

TEST(Container, OfEightBytesHasNoChildren) {
  EXPECT_EQ(treeOf(box("moov", {box("free")})), "moov");
  EXPECT_EQ(treeOf(largeBox("moov", {box("free")})), "moov");
  EXPECT_EQ(treeOf(box("moov", {box("free", {u8(0)})})), "moov(free)");
  EXPECT_EQ(treeOf(box("moov", {box("free"), box("skip")})), "moov(free skip)");
  EXPECT_EQ(treeOf(largeBox("moov", {box("free"), box("skip")})), "moov(free skip)");
}

TEST(Container, NullMediaHeaderIsAContainerWithoutChildren) {
  EXPECT_EQ(treeOf(box("minf", {fullBox("nmhd", 0, 0), box("stbl")})), "minf(nmhd stbl)");
}

TEST(Container, WithATailTooShortForABoxKeepsItsChildren) {
  EXPECT_EQ(treeOf(join({box("udta", {box("free"), u32(0)}), ftypBox()})), "udta(free) ftyp");
  EXPECT_EQ(treeOf(join({box("udta", {box("free"), zeros(7)}), ftypBox()})), "udta(free) ftyp");
}

TEST(Container, UnknownTypesAreKeptWithoutContent) {
  TreeFile file(box("moov", {box("zzzz", {mvhdBox()}), box("uuid", {zeros(16), mvhdBox()}), mvhdBox()}));
  const FileTree root = file.root();
  EXPECT_EQ(childrenOf(*root), "moov(zzzz uuid mvhd)");
  EXPECT_EQ(root->first->first->data, nullptr);
}

TEST(Container, LeavesReadTheirFields) {
  TreeFile file(box("moof", {box("traf", {fullBox("tfhd", 0, 0x10, {u32(7), u32(99)})})}));
  const FileTree root = file.root();
  const auto* tfhd =
      Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(Mp4BoxGet(nullptr, root.get(), true, "moof/traf/tfhd"));
  ASSERT_NE(tfhd, nullptr);
  EXPECT_EQ(tfhd->flags, 0x10u);
  EXPECT_EQ(tfhd->trackId, 7u);
  EXPECT_EQ(tfhd->defaultSampleSize, 99u);
}

TEST(Container, PayloadIsFoundByItsOwnTypeOnly) {
  TreeFile file(box("moov", {mvhdBox()}));
  const FileTree root = file.root();
  const Mp4Box* mvhd = root->first->first;
  EXPECT_NE(Mp4PayloadOf<mp4::MovieHeaderBox>(mvhd), nullptr);
  EXPECT_EQ(Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(mvhd), nullptr);
  EXPECT_EQ(Mp4PayloadOf<mp4::MovieHeaderBox>(root->first), nullptr);
  EXPECT_EQ(Mp4PayloadOf<mp4::MovieHeaderBox>(nullptr), nullptr);
}

// ---- Padding that hides a movie box, compressed movie boxes -----------------------------------------

TEST(Padding, ThatWrapsAMovieHeaderIsAHiddenMovieBox) {
  TreeFile file(join({ftypBox(), box("free", {mvhdBox(), box("trak", {tkhdBox()})}), box("mdat")}));
  const FileTree root = file.root();
  EXPECT_EQ(childrenOf(*root), "ftyp foov(mvhd trak(tkhd)) mdat");
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moov"), nullptr);
  EXPECT_NE(Mp4BoxGet(&file.stream, root.get(), false, "foov"), nullptr);
}

TEST(Padding, ThatWrapsACompressedMovieIsOneToo) {
  EXPECT_EQ(treeOf(box("free", {box("cmov", {box("dcom", {text("zlib")}), box("cmvd")})})), "foov");
  EXPECT_EQ(treeOf(largeBox("free", {mvhdBox()})), "foov(mvhd)");
}

TEST(Padding, OfOtherContentIsLeftAlone) {
  EXPECT_EQ(treeOf(box("free", {box("trak", {tkhdBox()})})), "free");
  EXPECT_EQ(treeOf(box("free")), "free");
  EXPECT_EQ(treeOf(box("free", {u32(108), text("mvh")})), "free");
  EXPECT_EQ(treeOf(box("skip", {mvhdBox()})), "skip");
  EXPECT_EQ(treeOf(box("wide", {mvhdBox()})), "wide");
}

TEST(Padding, DoesNotLookIntoTheBoxAfterIt) {
  EXPECT_EQ(treeOf(join({box("free"), mvhdBox()})), "free mvhd");
}

TEST(Padding, InsideABoxIsLeftAlone) {
  EXPECT_EQ(treeOf(box("moov", {box("free", {mvhdBox()}), mvhdBox()})), "moov(free mvhd)");
}

TEST(CompressedMovie, IsDroppedAndEndsItsMovieBox) {
  const Bytes cmov = box("cmov", {box("dcom", {text("zlib")}), box("cmvd", {u32(5), zeros(5)})});
  EXPECT_EQ(treeOf(join({box("moov", {mvhdBox(), cmov, box("trak", {tkhdBox()})}), ftypBox()})),
            "moov(mvhd) ftyp");
  EXPECT_EQ(treeOf(join({box("free", {mvhdBox(), cmov, box("trak", {tkhdBox()})}), ftypBox()})),
            "foov(mvhd) ftyp");
}

TEST(CompressedMovie, ElsewhereIsKeptWithAPayload) {
  TreeFile file(join({box("cmov", {box("dcom", {text("zlib")})}), box("udta", {box("cmov", {zeros(9)})})}));
  const FileTree root = file.root();
  EXPECT_EQ(childrenOf(*root), "cmov udta(cmov)");
  EXPECT_NE(root->first->data, nullptr);
  EXPECT_NE(root->last->first->data, nullptr);
}

// ---- Sample entries ---------------------------------------------------------------------------------

Bytes trackWith(const Bytes& handler, const Bytes& entry) {
  return box(
      "moov",
      {box("trak",
           {box("mdia", {handler, box("minf", {box("stbl", {fullBox("stsd", 0, 0, {u32(1), entry})})})})})});
}
Bytes handlerBox(std::string_view type) {
  return fullBox("hdlr", 0, 0, {u32(0), text(type), zeros(12), u8(0)});
}

class SampleEntryByHandler : public testing::Test {
 protected:
  const Mp4Box* read(const Bytes& bytes) {
    file_ = std::make_unique<TreeFile>(bytes);
    root_.emplace(file_->root());
    return Mp4BoxGet(nullptr, root_->get(), true, "moov/trak/mdia/minf/stbl/stsd/[0]");
  }
  const Mp4Box* entryFor(std::string_view handler) {
    return read(trackWith(handlerBox(handler), box("zzzz", {zeros(6), u16(3), zeros(92)})));
  }

  std::unique_ptr<TreeFile> file_;
  std::optional<FileTree> root_;
};

TEST_F(SampleEntryByHandler, Visual) {
  const Mp4Box* box = entryFor("vide");
  ASSERT_NE(box, nullptr);
  const auto* entry = Mp4PayloadOf<mp4::VisualSampleEntry>(box);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->dataReferenceIndex, 3u);
}

TEST_F(SampleEntryByHandler, Audio) {
  const auto* entry = Mp4PayloadOf<mp4::AudioSampleEntry>(entryFor("soun"));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->dataReferenceIndex, 3u);
}

TEST_F(SampleEntryByHandler, TimedText) {
  EXPECT_NE(Mp4PayloadOf<mp4::TimedTextSampleEntry>(entryFor("tx3g")), nullptr);
  EXPECT_NE(Mp4PayloadOf<mp4::TimedTextSampleEntry>(entryFor("sbtl")), nullptr);
}

TEST_F(SampleEntryByHandler, Text) {
  EXPECT_NE(Mp4PayloadOf<mp4::TextSampleEntry>(entryFor("text")), nullptr);
}

TEST_F(SampleEntryByHandler, OtherHandlersLeaveItWithoutPayload) {
  const Mp4Box* entry = entryFor("clcp");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->type, Mp4FourCc("zzzz"));
  EXPECT_EQ(entry->data, nullptr);
}

TEST_F(SampleEntryByHandler, NoHandlerLeavesItWithoutPayload) {
  const Mp4Box* entry = read(trackWith(box("free"), box("zzzz", {zeros(100)})));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->data, nullptr);
}

TEST_F(SampleEntryByHandler, OutsideATrackLeavesItWithoutPayload) {
  TreeFile file(box(
      "moov", {box("trak", {handlerBox("vide"),
                            box("udta", {fullBox("stsd", 0, 0, {u32(1), box("zzzz", {zeros(100)})})})})}));
  const FileTree root = file.root();
  const Mp4Box* entry = Mp4BoxGet(nullptr, root.get(), true, "moov/trak/udta/stsd/zzzz");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->data, nullptr);
}

TEST_F(SampleEntryByHandler, HasTheBoxesAfterItsFieldsAsChildren) {
  const Bytes pasp = box("pasp", {u32(1), u32(1)});
  const Mp4Box* entry =
      read(trackWith(handlerBox("vide"), box("hvc1", {zeros(78), box("hvcC", {zeros(4)}), pasp})));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(childrenOf(*entry), "hvcC pasp");
}

TEST_F(SampleEntryByHandler, ListedTypesDoNotDependOnTheHandler) {
  const Mp4Box* entry = read(trackWith(handlerBox("soun"), box("avc1", {zeros(78)})));
  EXPECT_NE(Mp4PayloadOf<mp4::VisualSampleEntry>(entry), nullptr);
}

TEST_F(SampleEntryByHandler, TooShortForItsFieldsReadsAsZeros) {
  const Mp4Box* entry = read(trackWith(handlerBox("vide"), box("zzzz", {zeros(6), u16(3), zeros(4)})));
  const auto* visual = Mp4PayloadOf<mp4::VisualSampleEntry>(entry);
  ASSERT_NE(visual, nullptr);
  EXPECT_EQ(visual->dataReferenceIndex, 3u);
  EXPECT_EQ(visual->width, 0u);
}

TEST(SampleDescription, WithoutEntriesIsKept) {
  EXPECT_EQ(treeOf(box("stbl", {fullBox("stsd", 0, 0, {u32(0)}), box("stts", {zeros(8)})})),
            "stbl(stsd stts)");
}

// ---- Hostile files ----------------------------------------------------------------------------------

TEST(Hostile, TruncationAtAnyByte) {
  const Bytes entire = join({ftypBox(), box("moov", {mvhdBox(), box("trak", {tkhdBox()})}),
                             largeBox("mdat", {zeros(5)}), moofBox(1), box("mdat", {zeros(20)})});
  // The top-level boxes that are present: leaves only if complete, others as soon as their headers are.
  const std::array<std::size_t, 5> needed = {16, 16 + 8, 232 + 16, 253 + 8, 325 + 8};
  ASSERT_EQ(entire.size(), 353u);
  for (std::size_t length = 0; length <= entire.size(); ++length) {
    TreeFile file(Bytes(entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(length)));
    const FileTree root = file.root();
    std::size_t expected = 0;
    while (expected < needed.size() && length >= needed[expected]) ++expected;
    EXPECT_EQ(childCount(*root), expected) << length;
    const FileTree onDemand = file.root(false);
    Mp4BoxGet(&file.stream, onDemand.get(), false, "moof[7]");
    EXPECT_EQ(childrenOf(*onDemand), childrenOf(*root)) << length;
  }
}

TEST(Hostile, TruncatedMovieBoxKeepsTheChildrenPresent) {
  const Bytes moov = box("moov", {mvhdBox(), box("trak", {tkhdBox(), tkhdBox()})});
  const auto cut = [&](std::size_t bytes) {
    return treeOf(Bytes(moov.begin(), moov.end() - static_cast<int>(bytes)));
  };
  EXPECT_EQ(cut(0), "moov(mvhd trak(tkhd tkhd))");
  EXPECT_EQ(cut(1), "moov(mvhd trak(tkhd))");
  EXPECT_EQ(cut(92), "moov(mvhd trak(tkhd))");
  EXPECT_EQ(cut(93), "moov(mvhd trak)");
  EXPECT_EQ(cut(184), "moov(mvhd trak)");
  EXPECT_EQ(cut(185), "moov(mvhd)");
  EXPECT_EQ(cut(192), "moov(mvhd)");
  EXPECT_EQ(cut(193), "moov");
}

TEST(Hostile, LeafThatClaimsFourGibibytesIsNotRead) {
  TreeFile file(join({ftypBox(), boxOfSize(0xFFFFFFFF, "sidx", {zeros(100)})}));
  const FileTree root = file.root();
  EXPECT_EQ(childrenOf(*root), "ftyp");
  EXPECT_EQ(file.stream.largestRead, 32);
}

TEST(Hostile, LeafThatClaimsOneByteMoreThanTheFileIsNotRead) {
  TreeFile file(join({ftypBox(), boxOfSize(109, "sidx", {zeros(100)})}));
  EXPECT_EQ(childrenOf(*file.root()), "ftyp");
  EXPECT_EQ(file.stream.largestRead, 32);
}

TEST(Hostile, LeafLargerThanTheLimitIsNotRead) {
  TempFolder folder;
  const std::string path = folder.file("boxes");
  writeFile(path, boxOfSize(MP4_MAX_LEAF_BYTES + 1, "sidx"));
  std::filesystem::resize_file(path, MP4_MAX_LEAF_BYTES + 1);
  CountingStream stream;
  stream.open(path.c_str(), MP4_MODE_READ);
  const FileTree root(stream, true);
  EXPECT_EQ(root->first, nullptr);
  EXPECT_EQ(stream.largestRead, 32);
}

TEST(Hostile, ContainerLargerThanTheLimitIsReadBoxByBox) {
  TempFolder folder;
  const std::string path = folder.file("boxes");
  const std::uint64_t size = MP4_MAX_LEAF_BYTES + 1000;
  writeFile(path,
            boxOfSize(size, "moov", {mvhdBox(), box("trak", {tkhdBox()}), boxOfSize(size - 216, "free")}));
  std::filesystem::resize_file(path, size);
  CountingStream stream;
  stream.open(path.c_str(), MP4_MODE_READ);
  const FileTree root(stream, true);
  EXPECT_EQ(childrenOf(*root), "moov(mvhd trak(tkhd) free)");
  EXPECT_EQ(stream.largestRead, 76);
}

TEST(Hostile, ContainerThatClaimsMoreThanTheFileIsReadAsFarAsItGoes) {
  TreeFile file(boxOfSize(0xFFFFFFFF, "moov", {mvhdBox()}));
  const FileTree root = file.root();
  EXPECT_EQ(childrenOf(*root), "moov(mvhd)");
  EXPECT_EQ(file.stream.largestRead, 84);
}

TEST(Hostile, NestingIsLimited) {
  Bytes bytes;
  constexpr unsigned kLevels = 10000;
  for (unsigned level = 0; level < kLevels; ++level) {
    const Bytes header = boxOfSize(8 * (kLevels - level) + 16, "moov");
    bytes.insert(bytes.end(), header.begin(), header.end());
  }
  bytes = join({bytes, zeros(16)});
  TreeFile file(bytes);
  const FileTree root = file.root();
  EXPECT_EQ(depthOf(*root), 32u);
  EXPECT_EQ(boxesIn(*root), 32u);
}

TEST(Hostile, ContainersThatAllReachToTheEndCountOncePerLevel) {
  // Every box claims all the bytes after it.
  constexpr std::uint32_t kBoxes = 20000;
  Bytes bytes;
  for (std::uint32_t i = 0; i < kBoxes; ++i) {
    const Bytes header = boxOfSize(8 * (kBoxes - i), "trak");
    bytes.insert(bytes.end(), header.begin(), header.end());
  }
  TreeFile file(bytes);
  const FileTree root = file.root();
  EXPECT_LE(boxesIn(*root), 32u);
}

TEST(Hostile, HundredsOfThousandsOfEightByteBoxes) {
  constexpr std::uint32_t kBoxes = 300000;
  TreeFile flat(repeat(box("free"), kBoxes));
  EXPECT_EQ(childCount(*flat.root()), kBoxes);
  EXPECT_LE(flat.stream.reads, 80) << "2.4 MB";
  TreeFile nested(box("moov", {box("trak", {repeat(box("free"), kBoxes)})}));
  const FileTree root = nested.root();
  EXPECT_EQ(boxesIn(*root), kBoxes + 2);
  EXPECT_EQ(nested.stream.reads, 2);
}

TEST(Hostile, ATreeHasNoMoreBoxesThanTheBytesOfItsFileAllow) {
  constexpr std::uint32_t kBoxes = 1000000;
  TreeFile flat(repeat(box("free"), kBoxes));
  EXPECT_EQ(childCount(*flat.root()), 450000u) << "300000, and one more for every 24 bytes";
  TreeFile nested(box("moov", {box("trak", {repeat(box("free"), kBoxes)})}));
  EXPECT_EQ(boxesIn(*nested.root()), 300000u + (64 << 10) / 24);
  TreeFile afterMuch(join({box("mdat", {zeros(1 << 20)}), repeat(box("free"), kBoxes)}));
  EXPECT_EQ(childCount(*afterMuch.root()), 454095u) << "64 KiB of the large one count";
}

// One access unit of silence per fragment, for hours.
TEST(Hostile, FragmentsOfOneSmallSampleHaveSpaceForTheirBoxes) {
  constexpr std::uint32_t kFragments = 140000;
  const Bytes moof =
      box("moof", {fullBox("mfhd", 0, 0, {u32(1)}),
                   box("traf", {fullBox("tfhd", 0, 0x020000, {u32(1)}), fullBox("tfdt", 0, 0, {u32(0)}),
                                fullBox("trun", 0, 0x201, {u32(1), u32(100), u32(6)})})});
  ASSERT_EQ(moof.size(), 88u);
  TreeFile file(repeat(join({moof, box("mdat", {zeros(6)})}), kFragments));
  EXPECT_EQ(childCount(*file.root()), 2 * kFragments);
  // Empty ones have no more boxes than their bytes allow.
  TreeFile empty(repeat(box("moof"), 1000000));
  EXPECT_EQ(childCount(*empty.root()), 450000u);
}

TEST(Hostile, ReadAheadForSmallBoxesEndsWithTheFirstLargeOne) {
  TreeFile file(join({repeat(box("free"), 1000), box("mdat", {zeros(1 << 20)}), box("free"),
                      box("mdat", {zeros(1 << 20)}), box("free")}));
  EXPECT_EQ(childCount(*file.root()), 1004u);
  EXPECT_LE(file.stream.reads, 45);
  EXPECT_LE(file.stream.largestRead, 16 << 10);
}

// The bytes of all leaves, as many times as they were read.
std::uint64_t leafBytes(const Mp4Box& box) {
  std::uint64_t bytes = 0;
  for (const Mp4Box* child = box.first; child; child = child->next)
    bytes += child->data ? child->size : leafBytes(*child);
  return bytes;
}

TEST(Hostile, LeavesThatAllReachToTheEndAreReadOnce) {
  // Each "trak" of 16 bytes holds an "avcC" that claims all that follows.
  constexpr std::uint32_t kTracks = 20000;
  Bytes tracks;
  for (std::uint32_t i = 0; i < kTracks; ++i) {
    const Bytes track = boxOfSize(17, "trak", {boxOfSize(17 * (kTracks - i) - 8, "avcC"), u8(0)});
    tracks.insert(tracks.end(), track.begin(), track.end());
  }
  TreeFile file(box("moov", {tracks}));
  const FileTree root = file.root();
  EXPECT_EQ(childCount(*root->first), kTracks);
  EXPECT_GE(leafBytes(*root), root->size - 100);
  EXPECT_LE(leafBytes(*root), 2 * root->size);
}

TEST(Hostile, ContainersThatReachPastTheirParentsAreReadAgainABoundedNumberOfTimes) {
  // A "trak" of 20 bytes holds a "mdia" that extends to the end, over all that follow.
  constexpr std::uint32_t kTracks = 5000;
  Bytes tracks;
  for (std::uint32_t i = 0; i < kTracks; ++i) {
    const Bytes track = boxOfSize(20, "trak", {boxOfSize(20 * (kTracks - i) - 8, "mdia"), zeros(4)});
    tracks.insert(tracks.end(), track.begin(), track.end());
  }
  TreeFile file(box("moov", {tracks}));
  const FileTree root = file.root();
  EXPECT_LE(boxesIn(*root), 2 * root->size / 8);
}

TEST(Hostile, OverrunsAreSharedByAllBoxesOfAFile) {
  // Each "moof" is read on its own; their overruns still add up.
  const Bytes moof = box("moof", {boxOfSize(17, "traf", {boxOfSize(500, "avcC"), u8(0)}), zeros(600)});
  TreeFile file(repeat(moof, 1000));
  const FileTree root = file.root();
  EXPECT_EQ(childCount(*root), 1000u);
  EXPECT_LE(leafBytes(*root), 2 * root->size);
}

// ---- Freeing ----------------------------------------------------------------------------------------

TEST(Free, OfNullDoesNothing) {
  Mp4BoxFree(nullptr, nullptr);
}

struct Reference : Mp4Payload {
  explicit Reference(std::string& freed, char name) : freed_(freed), name_(name) {}
  ~Reference() override { freed_ += name_; }
  void fields(Mp4Fields&) override {}

 private:
  std::string& freed_;
  char name_;
};

TEST(Free, ChildrenFirstInOrderEachWithItsPayload) {
  std::string freed;
  const auto make = [&](char name, Mp4Box* father) {
    auto* box = new Mp4Box;
    box->data = new Reference(freed, name);
    box->father = father;
    if (father) {
      (father->first ? father->last->next : father->first) = box;
      father->last = box;
    }
    return box;
  };
  Mp4Box* top = make('0', nullptr);
  Mp4Box* first = make('1', top);
  make('2', first);
  make('3', first);
  make('4', top);
  Mp4BoxFree(nullptr, top);
  EXPECT_EQ(freed, "23140");
}

TEST(Free, OfABoxLeavesItsParentAlone) {
  std::string freed;
  Mp4Box father;
  auto* box = new Mp4Box;
  box->father = &father;
  box->data = new Reference(freed, 'x');
  Mp4BoxFree(nullptr, box);
  EXPECT_EQ(freed, "x");
  EXPECT_EQ(father.data, nullptr);
}

TEST(Free, DoesNotRecurse) {
  auto* top = new Mp4Box;
  Mp4Box* box = top;
  for (int i = 0; i < 1000000; ++i) {
    auto* child = new Mp4Box;
    child->father = box;
    box->first = box->last = child;
    box = child;
  }
  Mp4BoxFree(nullptr, top);
}

}  // namespace

}  // namespace fmp4
