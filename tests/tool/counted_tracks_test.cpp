// Samples added up where their bytes lie, held against the list of all samples.
#include "tool/source/counted_tracks.h"

#include <gtest/gtest.h>

#include "base/user_error.h"
#include "tests/corrupt/counted_reads.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"
#include "tool/host/media_tracks.h"
#include "tool/host/plugin_host.h"
#include "tool/host/watched_files.h"
#include "tool/source/source_file.h"

namespace fmp4 {

namespace {

std::vector<CountedTrack> countedTracksOf(const std::string& path) {
  Mp4Stream stream;
  stream.open(path.c_str(), MP4_MODE_READ);
  return countTracks(*Mp4ReadRoot(stream, false));
}

// The same, from what another reads of the file: pieces of some bytes, up to its end or not.
std::vector<CountedTrack> countedInPassing(const std::string& path, std::size_t piece,
                                           std::size_t end = ~std::size_t{0}) {
  Mp4Stream stream;
  stream.open(path.c_str(), MP4_MODE_READ);
  const auto file = Mp4ReadRoot(stream, false);
  TrackCounter counter(*file);
  const Bytes bytes = readFile(path);
  for (std::size_t at = 0; at < std::min(end, bytes.size()); at += piece)
    counter.take(at, std::span(bytes).subspan(at, std::min(piece + 8, bytes.size() - at)));
  return counter.count();
}

void expectWhatTheListAddsUpTo(const std::string& path, const char* name,
                               const std::vector<CountedTrack>& counted) {
  SourceFile listed(path);
  ASSERT_EQ(counted.size(), listed.tracks().size()) << name;
  for (std::size_t i = 0; i < counted.size(); ++i) {
    std::uint64_t bytes = 0, ticks = 0;
    for (const SourceSample sample : listed.tracks()[i].samples) {
      bytes += sample.size;
      ticks += sample.duration;
    }
    EXPECT_EQ(counted[i].samples, listed.tracks()[i].samples.size()) << name << ", track " << i;
    EXPECT_EQ(counted[i].bytes, bytes) << name << ", track " << i;
    EXPECT_EQ(counted[i].ticks, ticks) << name << ", track " << i;
  }
}

void expectWhatTheListAddsUpTo(const std::string& path, const char* name) {
  expectWhatTheListAddsUpTo(path, name, countedTracksOf(path));
  for (const std::size_t piece : {1u, 50u, 100u, 4096u})
    expectWhatTheListAddsUpTo(path, name, countedInPassing(path, piece));
  for (const std::size_t end : {0u, 400u, 700u})
    expectWhatTheListAddsUpTo(path, name, countedInPassing(path, 4096, end));
}

struct CountedLayout {
  const char* name;
  Bytes fragments;
};

std::vector<CountedLayout> countedLayouts() {
  TrafSpec sized, timed, other, defaults;
  sized.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1), sampleOf(300, 2)}}};
  timed.runs = {RunSpec{kRunDuration | kRunSize, {sampleOf(7, 1, 900), sampleOf(9, 2, 1100)}},
                RunSpec{kRunDuration | kRunSize, {sampleOf(11, 3, 1)}}};
  other = sized;
  other.trackId = 9;
  defaults.flags = kDefaultDuration | kDefaultSize;
  defaults.duration = 40;
  defaults.size = 3;
  defaults.runs = {RunSpec{0, {sampleOf(3, 1), sampleOf(3, 2)}}};
  const Bytes plain = fragment(1, {sized}), last = fragment(2, {timed});
  Bytes leftOver = plain;
  const auto moofSize = static_cast<std::uint8_t>(leftOver[3] + 5);
  leftOver[3] = moofSize;  // the bytes of the next box's header belong to the fragment
  return {{"values of samples", join({plain, last})},
          {"values of the track fragment", fragment(1, {defaults})},
          {"a track fragment of another track", fragment(1, {other, sized})},
          {"the same track twice", fragment(1, {sized, timed})},
          {"no sequence number", fragment(std::nullopt, {sized})},
          {"irregular between regular ones", join({plain, box("moof", {zeros(3)}), last})},
          {"a fragment that is cut short", join({plain, Bytes(last.begin(), last.begin() + 60)})},
          {"bytes left over in a fragment", join({leftOver, last})}};
}

TEST(CountedTracks, AddUpToWhatTheSamplesDo) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  for (const CountedLayout& layout : countedLayouts()) {
    writeFile(file, join({fileTypeBox(), movieBox({videoTrack()}), layout.fragments}));
    expectWhatTheListAddsUpTo(file, layout.name);
  }
}

TEST(CountedTracks, OfFragmentsBeforeTheMovieBoxAreCountedToo) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  TrafSpec video;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  writeFile(file, join({fragment(1, {video}), movieBox({videoTrack()}), fragment(2, {video})}));
  expectWhatTheListAddsUpTo(file, "before and after");
  EXPECT_EQ(countedTracksOf(file)[0].samples, 2u);
}

// Samples of no bytes, as many as the file has bytes and one more.
TEST(CountedTracks, OfMoreSamplesThanTheFileHasBytesAreRefused) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  const auto writeCount = [&file](std::uint32_t count) {
    TrafSpec video;
    video.runs = {RunSpec{.flags = kRunDataOffset, .samples = {sampleOf(5, 1)}, .count = count}};
    const Bytes bytes = join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {video})});
    writeFile(file, bytes);
    return static_cast<std::uint32_t>(bytes.size());
  };
  const std::uint32_t size = writeCount(1);
  EXPECT_EQ(writeCount(size), size);
  EXPECT_EQ(countedTracksOf(file)[0].samples, size);
  EXPECT_EQ(countedInPassing(file, 4096)[0].samples, size);
  writeCount(size + 1);
  EXPECT_THROW(countedTracksOf(file), UserError);
  EXPECT_THROW(countedInPassing(file, 4096), UserError);
}

TEST(CountedTracks, TakeOneReadAFragmentAndNoMemoryForIt) {
  constexpr std::uint32_t kFragments = 3000;
  const TempFolder folder;
  DayFile day;
  day.fragments = kFragments;
  day.write(folder.file("day.mp4"));
  countedTracksOf(folder.file("day.mp4"));  // makes what is made at first use
  const HostReads before = hostReads();
  const CountingNew memory;
  const std::vector<CountedTrack> tracks = countedTracksOf(folder.file("day.mp4"));
  EXPECT_LE(memory.peakBytes(), 64u << 10);
  const HostReads after = hostReads();
  EXPECT_GE(after.calls - before.calls, kFragments) << "not all is counted";
  EXPECT_LE(after.calls - before.calls, kFragments + 16u);
  EXPECT_LE(after.bytes - before.bytes, day.moofBytes + 64u * kFragments + 4096);
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[0].samples, kFragments * std::uint64_t{DayFile::kVideoSamples});
  EXPECT_EQ(tracks[1].bytes, kFragments * std::uint64_t{DayFile::kAudioSamples} * DayFile::kAudioBytes);
  EXPECT_EQ(tracks[1].ticks, kFragments * std::uint64_t{DayFile::kAudioSamples} * 1024);
}

TEST(CountedTracks, AreCountedWhileThePluginReadsTheFile) {
  constexpr std::uint32_t kFragments = 3000;
  const TempFolder folder;
  const std::string file = folder.file("day.mp4");
  DayFile day;
  day.fragments = kFragments;
  day.write(file);
  const Plugin plugin("vlx_fmp4");
  const HostReads before = hostReads();
  WatchedFiles watched(file);
  const MediaFile opened = plugin.open(file);
  const std::vector<MediaTrack> tracks = mediaTracks(file, watched);
  const HostReads after = hostReads();
  EXPECT_GE(after.calls - before.calls, kFragments) << "not all is counted";
  EXPECT_LE(after.calls - before.calls, kFragments + 64u) << "the fragments are read again";
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[0].samples, kFragments * std::uint64_t{DayFile::kVideoSamples});
  EXPECT_EQ(tracks[1].bytes, kFragments * std::uint64_t{DayFile::kAudioSamples} * DayFile::kAudioBytes);
  EXPECT_EQ(tracks[1].durationTicks, kFragments * std::uint64_t{DayFile::kAudioSamples} * 1024);
}

}  // namespace

}  // namespace fmp4
