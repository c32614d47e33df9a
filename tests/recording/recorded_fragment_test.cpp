// The state of a fragment on the disk.
#include "recording/check/recorded_fragment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "base/bytes.h"
#include "tests/support/fragments.h"

namespace fmp4 {

namespace {

// Three disk blocks with a range of zero bytes.
std::vector<std::uint8_t> withZeros(std::ptrdiff_t from, std::ptrdiff_t to) {
  std::vector<std::uint8_t> bytes(3 * 4096, 1);
  std::fill(bytes.begin() + from, bytes.begin() + to, 0);
  return bytes;
}

bool isUnwritten(const std::vector<std::uint8_t>& bytes, std::uint64_t begin, std::uint64_t end,
                 std::ptrdiff_t minimum = kMinUnwritten) {
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  return hasUnwrittenData(stream, begin, end, minimum);
}

TEST(UnwrittenData, IsABlockOfZeros) {
  EXPECT_TRUE(isUnwritten(withZeros(4096, 8192), 100, 12288));
  EXPECT_TRUE(isUnwritten(withZeros(4096, 8192), 100, 12288, kMinUnwrittenAc3));
  EXPECT_FALSE(isUnwritten(withZeros(4097, 8192), 100, 12288));
  EXPECT_FALSE(isUnwritten(withZeros(4096, 8191), 100, 12288));
}

TEST(UnwrittenData, IsThePartOfSuchABlockInAFragment) {
  EXPECT_TRUE(isUnwritten(withZeros(8192, 8704), 100, 8704));
  EXPECT_FALSE(isUnwritten(withZeros(8192, 8703), 100, 8703));
  EXPECT_TRUE(isUnwritten(withZeros(3584, 4096), 3584, 8192));
  EXPECT_FALSE(isUnwritten(withZeros(3585, 4096), 3585, 8192));
}

TEST(UnwrittenData, IsNotThePaddingOfAnAc3Frame) {
  EXPECT_FALSE(isUnwritten(withZeros(8192, 12031), 100, 12031, kMinUnwrittenAc3));
  EXPECT_TRUE(isUnwritten(withZeros(8192, 12032), 100, 12032, kMinUnwrittenAc3));
}

RecordedMovie movieOfVideo() {
  RecordedMovie movie;
  movie.tracks[mp4::TrackKind::Video] = {30000, 1001, 0, 0};
  return movie;
}

// Ten frames, the first of them with `flags`.
Bytes tenFrames(std::uint32_t sequence, std::uint32_t flags = 0) {
  RunSpec run{kRunDataOffset | kRunSize | kRunFlags};
  for (std::uint32_t i = 0; i < 10; ++i)
    run.samples.push_back(sampleOf(20, i, 0, i == 0 ? flags : kNonSyncSample));
  TrafSpec traf;
  traf.runs = {run};
  return fragment(sequence, {traf});
}

TEST(ReadRecordedFragment, SaysWhetherARunStartsWithAKeyFrame) {
  for (const std::uint32_t flags : {std::uint32_t{0}, kNonSyncSample}) {
    const Bytes bytes = tenFrames(1, flags);
    Mp4MemoryStream stream(bytes.data(), bytes.size());
    const auto read = readRecordedFragment(stream, 0, movieOfVideo());
    ASSERT_TRUE(std::holds_alternative<RecordedFragment>(read));
    const auto& run = std::get<RecordedFragment>(read).runs[mp4::TrackKind::Video];
    EXPECT_EQ(run->samples, 10u);
    EXPECT_EQ(run->startsWithKey, flags == 0);
  }
}

TEST(ReadRecordedFragment, RefusesBytesAfterItsLastTrack) {
  Bytes bytes = tenFrames(1);
  constexpr std::uint32_t kStray = 4;
  const std::uint32_t size = Mp4LoadU32(bytes.data());
  const auto grow = [&](std::ptrdiff_t at) {
    const Bytes grown = u32(Mp4LoadU32(&bytes[static_cast<std::size_t>(at)]) + kStray);
    std::copy(grown.begin(), grown.end(), bytes.begin() + at);
  };
  const Bytes type = {'t', 'r', 'u', 'n'};
  const auto run = std::search(bytes.begin(), bytes.end(), type.begin(), type.end()) - bytes.begin();
  grow(0);
  grow(run + 12);  // data_offset
  bytes.insert(bytes.begin() + size, kStray, 0);
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  const auto read = readRecordedFragment(stream, 0, movieOfVideo());
  ASSERT_TRUE(std::holds_alternative<std::string>(read));
  EXPECT_EQ(std::get<std::string>(read), "the fragment does not consist of its header and its tracks");
}

// The file is searched in pieces of a mebibyte.
TEST(FindFragment, FindsOneWhoseHeaderIsSplitBetweenPieces) {
  constexpr std::size_t kPiece = 1u << 20;
  for (const std::size_t before : {kPiece - 10, kPiece - 1, kPiece, kPiece + 1}) {
    const Bytes bytes = join({Bytes(before, 1), tenFrames(5)});
    Mp4MemoryStream stream(bytes.data(), bytes.size());
    EXPECT_EQ(findFragment(stream, 0, 4), before);
    EXPECT_EQ(findFragment(stream, 0, 5), std::nullopt);
  }
}

}  // namespace

}  // namespace fmp4
