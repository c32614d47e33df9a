// What the index reports when memory runs out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "streaming/index/caption_reader.h"
#include "tests/streaming/index_fixture.h"
#include "tests/support/controlled_new.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

TEST(OutOfMemory, AnIndexThatCannotGrowIsEmptyAndReportsIt) {
  IndexedFile file(join({videoFragment(1, 3), videoFragment(2, 3)}), Tree::All);
  file.with(kVideoTrack, 30000, trackDefaults(1001));
  FragmentIndex index(file.file, file.tracks, {30000, 1001});
  Mp4Box* first = Mp4BoxChild(file.file.root(), Mp4FourCc("moof"), 0);
  Mp4Box* second = Mp4BoxChild(file.file.root(), Mp4FourCc("moof"), 1);
  ASSERT_TRUE(index.AddFragment(first).ok());
  LogCapture log;
  {
    const FailingNewAt failing(0);
    Result result;
    for (int i = 0; i < 1000 && result.ok(); ++i) result = index.AddFragment(second);
    EXPECT_EQ(result, Defect::OutOfMemory);
  }
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_ERROR, "ERROR(vlx_Fmp4): Unable to allocate moof array\n"}));
  log.lines.clear();
  TrackCursor cursor = file.cursor(kVideoTrack);
  EXPECT_EQ(cursor.locateFragment(index, 0, 0), Defect::FragmentMissing);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 - No Moof Array"}));
}

// A file whose bytes are in memory only once they have been read.
class FileOnDisk : public Mp4MemoryStream {
 public:
  using Mp4MemoryStream::Mp4MemoryStream;
  const std::uint8_t* view(std::uint64_t, std::uint64_t) override { return nullptr; }
};

TEST(OutOfMemory, ASegmentIndexThatCannotBeReadIsReported) {
  const Bytes listed = videoFragment(1, 10);
  std::vector<ReferenceSpec> references(99);
  references[0].size = static_cast<std::uint32_t>(listed.size());
  const Bytes segment = sidxBox(references), bytes = join({segment, listed});
  FileOnDisk stream(bytes.data(), bytes.size());
  Mp4TopLevelReader file(stream);
  const mp4::TrackExtendsBox defaults = trackDefaults(1001);
  std::array<IndexedTrack, kTrackRoles> tracks;
  tracks[kVideoTrack] = {1, 30000, &defaults};
  FragmentIndex index(file, tracks, {30000, 1001});
  LogCapture log;
  const FailingNew failing(segment.size());
  EXPECT_EQ(index.build(), Defect::OutOfMemory);
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_ERROR, "ERROR(vlx_Fmp4): Unable to allocate moof array\n"}));
}

TEST(OutOfMemory, CaptionsWithoutABufferAreReported) {
  TrafSpec traf;
  traf.trackId = 3;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(12345, 1)}}};
  IndexedFile file(fragment(1, {traf}));
  file.with(kCc608Track, 30000, trackDefaults(1001));
  FragmentIndex& index = file.build();
  Cc608Reader reader;
  reader.cursor = file.cursor(kCc608Track);
  LogCapture log;
  {
    const FailingNew failing(12345);
    EXPECT_EQ(SeekCc608Frame(index, 0, reader), Defect::OutOfMemory);
  }
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 - Failed to allocate cc buffer for reading"}));
  EXPECT_TRUE(SeekCc608Frame(index, 0, reader).ok());
}

}  // namespace

}  // namespace fmp4
