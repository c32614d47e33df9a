// The state of a fragment on the disk.
#include "recording/check/recorded_fragment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <variant>
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

// What is read at a time ends with a block, so that none is seen in two parts.
TEST(UnwrittenData, IsABlockWhereverItsFragmentBegins) {
  std::vector<std::uint8_t> bytes(80 * 4096, 1);
  std::fill_n(bytes.begin() + 64 * 4096, 4096, std::uint8_t{0});
  EXPECT_TRUE(isUnwritten(bytes, 300, bytes.size(), kMinUnwrittenAc3));
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

constexpr std::uint32_t kDefaults = kBaseIsMoof | kDefaultDuration | kDefaultSize | kDefaultFlags;

// A fragment of video and audio, with what `change` makes of its tracks.
std::variant<RecordedFragment, std::string> readChanged(
    const std::function<void(std::vector<TrafSpec>&)>& change,
    const std::function<void(Bytes&)>& changeBytes = [](Bytes&) {}) {
  RecordedMovie movie = movieOfVideo();
  movie.tracks[mp4::TrackKind::Audio] = {48000, 1024, 7, kNonSyncSample};
  TrafSpec video, audio;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(30, 2)}}};
  audio.trackId = 2;
  audio.runs = {RunSpec{kRunDataOffset, {sampleOf(7, 3), sampleOf(7, 4)}}};
  std::vector<TrafSpec> tracks = {video, audio};
  change(tracks);
  Bytes bytes = fragment(1, tracks);
  changeBytes(bytes);
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  return readRecordedFragment(stream, 0, movie);
}
RecordedFragment readTracks(const std::function<void(std::vector<TrafSpec>&)>& change) {
  const auto read = readChanged(change);
  const auto* reason = std::get_if<std::string>(&read);
  EXPECT_EQ(reason, nullptr) << *reason;
  return reason ? RecordedFragment() : std::get<RecordedFragment>(read);
}
std::string refusalOf(const std::function<void(std::vector<TrafSpec>&)>& change) {
  const auto read = readChanged(change);
  return std::holds_alternative<std::string>(read) ? std::get<std::string>(read) : "";
}

TEST(ReadRecordedFragment, TakesDefaultsOfTheFragmentBeforeThoseOfTheTrack) {
  const RecordedFragment of = readTracks([](std::vector<TrafSpec>&) {});
  EXPECT_EQ(of.runs[mp4::TrackKind::Video]->ticks, 2 * 1001u);
  EXPECT_EQ(of.runs[mp4::TrackKind::Video]->bytes, 40u);
  EXPECT_TRUE(of.runs[mp4::TrackKind::Video]->startsWithKey);
  EXPECT_EQ(of.runs[mp4::TrackKind::Audio]->ticks, 2 * 1024u);
  EXPECT_EQ(of.runs[mp4::TrackKind::Audio]->bytes, 14u);
  EXPECT_FALSE(of.runs[mp4::TrackKind::Audio]->startsWithKey) << "by the track's flags";
  const RecordedFragment own = readTracks([](std::vector<TrafSpec>& tracks) {
    for (TrafSpec& track : tracks) {
      track.flags = kDefaults;
      track.duration = 500;
      track.size = 7;
    }
    tracks[0].sampleFlags = kNonSyncSample;
    tracks[0].runs[0].flags |= kRunDuration;
    tracks[0].runs[0].samples[0].duration = 3;
    tracks[0].runs[0].samples[1].duration = 4;
  });
  EXPECT_EQ(own.runs[mp4::TrackKind::Video]->ticks, 7u) << "the run's own come first";
  EXPECT_EQ(own.runs[mp4::TrackKind::Video]->bytes, 40u);
  EXPECT_FALSE(own.runs[mp4::TrackKind::Video]->startsWithKey);
  EXPECT_EQ(own.runs[mp4::TrackKind::Audio]->ticks, 2 * 500u);
  EXPECT_TRUE(own.runs[mp4::TrackKind::Audio]->startsWithKey);
}

TEST(ReadRecordedFragment, TakesTheFirstSamplesOwnFlagsFirst) {
  const auto startsWithKey = [](std::uint32_t first) {
    return readTracks([first](std::vector<TrafSpec>& tracks) {
             tracks[0].runs[0].flags |= kRunFirstFlags;
             tracks[0].runs[0].firstFlags = first;
           })
        .runs[mp4::TrackKind::Video]
        ->startsWithKey;
  };
  EXPECT_TRUE(startsWithKey(0));
  EXPECT_FALSE(startsWithKey(kNonSyncSample));
  EXPECT_FALSE(readTracks([](std::vector<TrafSpec>& tracks) { tracks[0].runs[0].samples.clear(); })
                   .runs[mp4::TrackKind::Video]
                   ->startsWithKey)
      << "of no sample";
}

TEST(ReadRecordedFragment, RefusesTracksThatRecordingsDoNotHave) {
  const std::string misplaced = "the data offset of track 1 does not point to its samples";
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[0].runs.push_back(tracks[0].runs[0]); }),
            "track 1 has more than one run in a fragment");
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[1].trackId = 3; }),
            "the fragment has samples of track 3, which does not exist");
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[1].trackId = 1; }),
            "track 1 appears twice in a fragment");
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[0].runs[0].dataOffset = 0x80000000; }),
            misplaced);
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[0].runs[0].dataOffset = 20; }), misplaced);
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[0].flags |= kBaseOffset; }), misplaced);
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks[0].flags = 0; }), misplaced);
  EXPECT_EQ(refusalOf([](std::vector<TrafSpec>& tracks) { tracks.clear(); }),
            "the fragment does not consist of its header and its tracks");
}

TEST(ReadRecordedFragment, NeedsMediaDataAfterItsBoxes) {
  const auto unchanged = [](std::vector<TrafSpec>&) {};
  const auto read = readChanged(unchanged, [](Bytes& bytes) { bytes[Mp4LoadU32(bytes.data()) + 4] = 'x'; });
  ASSERT_TRUE(std::holds_alternative<std::string>(read));
  EXPECT_EQ(std::get<std::string>(read), "the fragment's media data are missing or truncated");
  const auto truncated = [&unchanged](std::size_t fewer) {
    const auto cut =
        readChanged(unchanged, [fewer](Bytes& bytes) { bytes.resize(Mp4LoadU32(bytes.data()) - fewer); });
    return std::holds_alternative<std::string>(cut) ? std::get<std::string>(cut) : "";
  };
  EXPECT_EQ(truncated(1), "the fragment's boxes are truncated");
  EXPECT_EQ(truncated(0), "the fragment's media data are missing or truncated");
}

// The type alone, at the beginning of what is searched.
TEST(FindFragment, PassesATypeWithoutItsSize) {
  const Bytes bytes = join({text("moof"), Bytes(100, 1), tenFrames(5)});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  EXPECT_EQ(findFragment(stream, 0, 4), 104u);
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
