// Finding boxes by path, by rank and by file offset, and the top level that is read on demand for it.
#include <gmock/gmock.h>

#include <string>

#include "mp4box/box.h"
#include "tests/mp4box/tree_file.h"

namespace fmp4 {

namespace {

Bytes movieFile() {
  return join({ftypBox(),
               box("moov", {mvhdBox(), box("trak", {tkhdBox(), box("mdia", {box("minf"), box("stbl")})})}),
               box("free", {zeros(4)})});
}

// "ftyp" (16 bytes), "moov" (116 bytes), then pairs of "moof" (72 bytes) and "mdat" (12 bytes).
constexpr std::uint64_t kFirstFragment = 132;
constexpr std::uint64_t kFragment = 84;

Bytes fragmentedFile(std::uint32_t fragments) {
  Bytes bytes = join({ftypBox(), box("moov", {mvhdBox()})});
  for (std::uint32_t i = 0; i < fragments; ++i) {
    const Bytes fragment = join({moofBox(i + 1), box("mdat", {u32(i)})});
    bytes.insert(bytes.end(), fragment.begin(), fragment.end());
  }
  return bytes;
}

class Path : public testing::Test {
 protected:
  Mp4Box* get(const char* path) { return Mp4BoxGet(&file_.stream, root_.get(), false, "%s", path); }
  Mp4Box* from(Mp4Box* box, const char* path) { return Mp4BoxGet(&file_.stream, box, false, "%s", path); }

  TreeFile file_{movieFile()};
  FileTree root_ = file_.root();
};

TEST_F(Path, FindsBoxesByType) {
  ASSERT_NE(get("moov/trak/mdia/stbl"), nullptr);
  EXPECT_EQ(get("moov/trak/mdia/stbl")->type, Mp4FourCc("stbl"));
  EXPECT_EQ(get("moov/trak/tkhd")->position, 16u + 8 + 108 + 8);
  EXPECT_EQ(get("moov/mdia"), nullptr);
  EXPECT_EQ(get("trak"), nullptr);
}

TEST_F(Path, RootParentSelfAndNothing) {
  Mp4Box* moov = get("moov");
  Mp4Box* trak = get("moov/trak");
  EXPECT_EQ(from(trak, "/"), root_.get());
  EXPECT_EQ(from(trak, ".."), moov);
  EXPECT_EQ(from(trak, "."), trak);
  EXPECT_EQ(from(trak, ""), nullptr);
  EXPECT_EQ(from(root_.get(), "/"), root_.get());
  EXPECT_EQ(from(root_.get(), ".."), nullptr);
  EXPECT_EQ(from(nullptr, "/"), nullptr);
}

TEST_F(Path, StepsCombine) {
  Mp4Box* stbl = get("moov/trak/mdia/stbl");
  EXPECT_EQ(from(stbl, "../../../mvhd"), get("moov/mvhd"));
  EXPECT_EQ(from(stbl, "/moov/trak"), get("moov/trak"));
  EXPECT_EQ(from(stbl, "./../minf/."), get("moov/trak/mdia/minf"));
  EXPECT_EQ(from(stbl, "../../../../.."), nullptr);
  EXPECT_EQ(from(stbl, "../../../../../moov"), nullptr);
}

TEST_F(Path, FurtherSeparatorsAreSkipped) {
  EXPECT_EQ(get("moov///trak//"), get("moov/trak"));
  EXPECT_EQ(get("//moov"), get("moov"));
  EXPECT_EQ(get("moov/trak[0]mdia"), get("moov/trak/mdia"));
}

TEST_F(Path, IndexCountsAmongTheChildrenOfTheType) {
  Mp4Box* moov = get("moov");
  EXPECT_EQ(from(moov, "trak[0]"), moov->last);
  EXPECT_EQ(from(moov, "trak[1]"), nullptr);
  EXPECT_EQ(from(moov, "trak[00]"), moov->last);
  EXPECT_EQ(from(moov, "trak[0 and more]"), moov->last);
}

TEST_F(Path, IndexAloneCountsAmongAllChildren) {
  EXPECT_EQ(get("[0]")->type, Mp4FourCc("ftyp"));
  EXPECT_EQ(get("[1]")->type, Mp4FourCc("moov"));
  EXPECT_EQ(get("[2]")->type, Mp4FourCc("free"));
  EXPECT_EQ(get("[3]"), nullptr);
  EXPECT_EQ(get("moov/[1]/[0]")->type, Mp4FourCc("tkhd"));
  EXPECT_EQ(get("moov/trak/tkhd/[0]"), nullptr);
}

TEST_F(Path, MalformedPathsFindNothing) {
  for (const char* path : {"moo", "moovx", "...", "x", "moov[", "moov[0", "moov[]", "moov[x]", "moov[-1]",
                           "[", "[]", "moov/trak[0", "moov/..."})
    EXPECT_EQ(get(path), nullptr) << path;
}

TEST_F(Path, HugeIndicesFindNothingAndReadNothing) {
  file_.stream.reads = 0;
  for (const char* path : {"moof[4294967296]", "moof[18446744073709551616]", "moov[4294967296]",
                           "[4294967295]", "[4294967296]", "moof[99999999999999999999999999999999999999999]"})
    EXPECT_EQ(get(path), nullptr) << path;
  EXPECT_EQ(file_.stream.reads, 0);
}

TEST_F(Path, ArgumentsAreFormattedIn) {
  EXPECT_EQ(Mp4BoxGet(nullptr, root_.get(), true, "moov/%s[%lu]", "trak", 0ul), get("moov/trak"));
  EXPECT_EQ(Mp4BoxGet(nullptr, root_.get(), true, "moov/trak[%lu]", 1ul), nullptr);
}

TEST_F(Path, PathsOf4096CharactersAndMoreFindNothing) {
  EXPECT_EQ(get(std::string(4095, '/').c_str()), root_.get());
  EXPECT_EQ(get(std::string(4096, '/').c_str()), nullptr);
  EXPECT_EQ(get((std::string(4092, '/') + "moov").c_str()), nullptr);
  EXPECT_EQ(get((std::string(4091, '/') + "moov").c_str()), root_->first->next);
}

TEST(ChildLookup, RanksInAnyOrder) {
  Bytes runs;
  for (std::uint32_t i = 0; i < 6; ++i) {
    const Bytes pair = join({fullBox("trun", 0, 0, {u32(i)}), fullBox("tfdt", 0, 0, {u32(i)})});
    runs.insert(runs.end(), pair.begin(), pair.end());
  }
  TreeFile file(box("moof", {box("traf", {runs})}));
  const FileTree root = file.root();
  Mp4Box* traf = Mp4BoxGet(nullptr, root.get(), true, "moof/traf");
  const auto position = [&](const char(&type)[5], std::uint32_t index) -> std::uint64_t {
    const Mp4Box* found = Mp4BoxChild(traf, Mp4FourCc(type), index);
    return found ? found->position : 0;
  };
  for (const std::uint32_t i : {0u, 1u, 5u, 2u, 2u, 4u, 0u, 3u}) {
    EXPECT_EQ(position("trun", i), 16u + 32 * i);
    EXPECT_EQ(position("trun", 6), 0u);
    EXPECT_EQ(position("tfdt", i), 32u + 32 * i);
    EXPECT_EQ(position("tfhd", 0), 0u);
  }
  EXPECT_EQ(Mp4BoxChild(nullptr, Mp4FourCc("trun")), nullptr);
}

TEST(ChildLookup, WalksAHundredThousandChildrenByRank) {
  constexpr std::uint32_t kRuns = 100000;
  TreeFile file(box("moof", {box("traf", {repeat(box("trun"), kRuns)})}));
  const FileTree root = file.root();
  Mp4Box* traf = Mp4BoxGet(nullptr, root.get(), true, "moof/traf");
  std::uint32_t count = 0;
  while (const Mp4Box* run = Mp4BoxGet(nullptr, traf, true, "trun[%lu]", static_cast<unsigned long>(count))) {
    ASSERT_EQ(run->position, 16u + 8 * count);
    ++count;
  }
  EXPECT_EQ(count, kRuns);
}

// ---- Reading on demand ------------------------------------------------------------------------------

TEST(OnDemand, LookupReadsExactlyUpToTheBoxAskedFor) {
  TreeFile file(fragmentedFile(3000));
  const FileTree root = file.root(false);
  EXPECT_EQ(childCount(*root), 2u);

  file.stream.reads = 0;
  const Mp4Box* sixth = Mp4BoxGet(&file.stream, root.get(), false, "moof[%lu]", 5ul);
  ASSERT_NE(sixth, nullptr);
  EXPECT_EQ(sixth->position, kFirstFragment + 5 * kFragment);
  EXPECT_EQ(childCount(*root), 13u);
  EXPECT_EQ(root->last, sixth);
  // One read for the first, whose header was read with the movie box, two for the second, and one for each of
  // the four that are as long as the previous one. The "mdat" headers are read with them.
  EXPECT_EQ(file.stream.reads, 7);

  file.stream.reads = 0;
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moof[%lu]", 5ul), sixth);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moof"), root->first->next->next);
  EXPECT_EQ(file.stream.reads, 0);
}

TEST(OnDemand, WalksTheWholeFileOneBoxAtATime) {
  constexpr std::uint32_t kFragments = 3000;
  TreeFile file(fragmentedFile(kFragments));
  const FileTree root = file.root(false);
  file.stream.reads = 0;
  std::uint32_t count = 0;
  while (const Mp4Box* moof =
             Mp4BoxGet(&file.stream, root.get(), false, "moof[%lu]", static_cast<unsigned long>(count))) {
    ASSERT_EQ(moof->position, kFirstFragment + kFragment * count);
    ASSERT_EQ(childrenOf(*moof), "mfhd traf(tfhd trun free)");
    ++count;
  }
  EXPECT_EQ(count, kFragments);
  // One per fragment, once two of them have shown their length.
  EXPECT_EQ(file.stream.reads, static_cast<int>(kFragments) + 1);
  EXPECT_EQ(childCount(*root), 2u + 2 * kFragments);
}

TEST(OnDemand, NothingMoreToReadLeavesTheTreeAsItIs) {
  TreeFile file(fragmentedFile(2));
  const FileTree root = file.root(false);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "sidx"), nullptr);
  const Mp4Box* last = root->last;
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->type, Mp4FourCc("mdat"));
  EXPECT_EQ(last->next, nullptr);
  EXPECT_EQ(childrenOf(*root),
            "ftyp moov(mvhd) moof(mfhd traf(tfhd trun free)) mdat "
            "moof(mfhd traf(tfhd trun free)) mdat");
  file.stream.reads = 0;
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "sidx"), nullptr);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moof[2]"), nullptr);
  EXPECT_EQ(file.stream.reads, 0);
  EXPECT_EQ(root->last, last);
}

TEST(OnDemand, TheLastBoxOfAFileIsFound) {
  TreeFile file(join({ftypBox(), box("moov", {mvhdBox()}), moofBox(1)}));
  const FileTree root = file.root(false);
  EXPECT_TRUE(Mp4ReadNextBox(root.get()).ok());
  EXPECT_EQ(Mp4ReadNextBox(root.get()), Defect::EndOfData);
  EXPECT_EQ(Mp4ReadNextBox(root->first), Defect::EndOfData);
  EXPECT_NE(Mp4BoxGet(&file.stream, root.get(), false, "moof"), nullptr);

  const FileTree other = file.root(false);
  EXPECT_NE(Mp4BoxGet(&file.stream, other.get(), false, "moof"), nullptr);
  EXPECT_EQ(Mp4BoxGet(&file.stream, other.get(), false, "moof[1]"), nullptr);
}

TEST(OnDemand, ATailThatIsNotABoxEndsTheFile) {
  TreeFile file(join({ftypBox(), box("moov", {mvhdBox()}), moofBox(1), u32(0), text("mdat"), zeros(50)}));
  const FileTree root = file.root(false);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "mdat"), nullptr);
  EXPECT_EQ(childrenOf(*root), "ftyp moov(mvhd) moof(mfhd traf(tfhd trun free))");
  EXPECT_EQ(root->last->type, Mp4FourCc("moof"));
  file.stream.reads = 0;
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "mdat"), nullptr);
  EXPECT_EQ(file.stream.reads, 0);
}

TEST(OnDemand, ReadsOnlyForFragmentsMediaDataAndIndices) {
  TreeFile file(join({ftypBox(), box("moov", {mvhdBox()}), box("free", {zeros(4)}), moofBox(1), box("mdat"),
                      box("sidx", {zeros(24)}), box("skip")}));
  const FileTree root = file.root(false);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "free"), nullptr);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "skip"), nullptr);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "[2]"), nullptr);
  EXPECT_EQ(childCount(*root), 2u);
  EXPECT_NE(Mp4BoxGet(&file.stream, root.get(), false, "moof"), nullptr);
  EXPECT_EQ(childCount(*root), 4u);
  EXPECT_NE(Mp4BoxGet(&file.stream, root.get(), false, "mdat"), nullptr);
  EXPECT_EQ(childCount(*root), 5u);
  EXPECT_NE(Mp4BoxGet(&file.stream, root.get(), false, "sidx"), nullptr);
  EXPECT_EQ(childCount(*root), 6u);
}

TEST(OnDemand, OnlyTheRootGrows) {
  TreeFile file(fragmentedFile(2));
  const FileTree root = file.root(false);
  file.stream.reads = 0;
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moov/moof"), nullptr);
  EXPECT_EQ(file.stream.reads, 0);
  EXPECT_EQ(childCount(*root), 2u);
}

TEST(OnDemand, ReadsNothingWhenForbidden) {
  TreeFile file(fragmentedFile(2));
  const FileTree root = file.root(false);
  file.stream.reads = 0;
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), true, "moof"), nullptr);
  EXPECT_EQ(Mp4BoxGet(nullptr, root.get(), false, "moof"), nullptr);
  EXPECT_EQ(Mp4BoxChild(root.get(), Mp4FourCc("moof")), nullptr);
  EXPECT_EQ(file.stream.reads, 0);
  EXPECT_NE(Mp4BoxGet(&file.stream, root.get(), false, "moof"), nullptr);
  EXPECT_NE(Mp4BoxGet(nullptr, root.get(), true, "moof"), nullptr);
}

TEST(OnDemand, SeeksInBetweenDoNotMatter) {
  TreeFile file(fragmentedFile(4));
  const FileTree root = file.root(false);
  for (unsigned long i = 0; i < 4; ++i) {
    file.stream.seek(i * 37);
    const Mp4Box* moof = Mp4BoxGet(&file.stream, root.get(), false, "moof[%lu]", i);
    ASSERT_NE(moof, nullptr);
    EXPECT_EQ(moof->position, kFirstFragment + kFragment * i);
  }
  file.stream.seek(0);
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moof[4]"), nullptr);
  EXPECT_EQ(childCount(*root), 10u);
}

TEST(OnDemand, ContinuesPastFourGibibytes) {
  constexpr std::uint64_t kMediaBytes = 5ull << 30;
  TempFolder folder;
  const std::string path = folder.file("boxes");
  const Bytes start = join({ftypBox(), box("moov", {mvhdBox()}), largeBoxOfSize(kMediaBytes, "mdat")});
  writeFile(path, start);
  const std::uint64_t media = start.size() - 16;
  Mp4Stream stream;
  stream.open(path.c_str(), MP4_MODE_UPDATE);
  const Bytes fragment = moofBox(1);
  ASSERT_TRUE(stream.seek(media + kMediaBytes));
  ASSERT_EQ(stream.write(fragment.data(), 72), 72);

  const FileTree root(stream, false);
  EXPECT_EQ(root->size, media + kMediaBytes + 72);
  const Mp4Box* moof = Mp4BoxGet(&stream, root.get(), false, "moof");
  ASSERT_NE(moof, nullptr);
  EXPECT_EQ(moof->position, media + kMediaBytes);
  EXPECT_EQ(childrenOf(*moof), "mfhd traf(tfhd trun free)");
  EXPECT_EQ(root.reader().boxAt(media)->size, kMediaBytes);
}

// ---- By file offset ---------------------------------------------------------------------------------

TEST(BoxAt, ReadsTheTopLevelAsFarAsTheOffset) {
  TreeFile file(fragmentedFile(100));
  const FileTree root = file.root(false);
  EXPECT_EQ(root.reader().boxAt(0), root->first);
  EXPECT_EQ(childCount(*root), 2u);
  const Mp4Box* moof = root.reader().boxAt(kFirstFragment + 3 * kFragment);
  ASSERT_NE(moof, nullptr);
  EXPECT_EQ(moof, root->last);
  EXPECT_EQ(childCount(*root), 9u);
  // A lookup by path continues from there, and vice versa.
  EXPECT_EQ(Mp4BoxGet(&file.stream, root.get(), false, "moof[3]"), moof);
  const Mp4Box* fifth = Mp4BoxGet(&file.stream, root.get(), false, "moof[4]");
  file.stream.reads = 0;
  EXPECT_EQ(root.reader().boxAt(kFirstFragment + 4 * kFragment), fifth);
  EXPECT_EQ(root.reader().boxAt(kFirstFragment + 3 * kFragment), moof);
  EXPECT_EQ(file.stream.reads, 0);
}

TEST(BoxAt, NothingStartsInsideABoxOrPastTheEnd) {
  TreeFile file(fragmentedFile(3));
  const FileTree root = file.root(false);
  EXPECT_EQ(root.reader().boxAt(1), nullptr);
  EXPECT_EQ(root.reader().boxAt(kFirstFragment + 8), nullptr);
  EXPECT_EQ(childCount(*root), 3u);
  EXPECT_EQ(root.reader().boxAt(kFirstFragment + 3 * kFragment), nullptr);
  EXPECT_EQ(root.reader().boxAt(~std::uint64_t{0}), nullptr);
  EXPECT_EQ(childCount(*root), 8u);
  EXPECT_EQ(root.reader().boxAt(16)->type, Mp4FourCc("moov"));
}

TEST(BoxAt, EmptyFileHasNone) {
  TreeFile file(Bytes{});
  const FileTree root = file.root(false);
  EXPECT_EQ(root.reader().boxAt(0), nullptr);
}

TEST(BoxAt, WalksForwardOverAHundredThousandBoxes) {
  constexpr std::uint32_t kBoxes = 100000;
  TreeFile file(repeat(box("mdat"), kBoxes));
  const FileTree root = file.root(false);
  for (std::uint32_t i = 0; i < kBoxes; ++i) ASSERT_NE(root.reader().boxAt(std::uint64_t{8} * i), nullptr);
  EXPECT_EQ(root.reader().boxAt(std::uint64_t{8} * kBoxes), nullptr);
}

}  // namespace

}  // namespace fmp4
