// Recordings of every kind are intact; what is changed in them is found, and repaired where it can be.
#include "tests/recording/made_recording.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

#include "base/user_error.h"
#include "recording/check/repair.h"
#include "streaming/lists/manifest_document.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr MadeKind kVideoOnly{};
constexpr MadeKind kBoth{.audio = true, .captions = true};
constexpr MadeKind kApart{.audio = true, .separateAudio = true};

// ---- Written ----------------------------------------------------------------------------------------

TEST(MadeRecordings, AreIntact) {
  const MadeKind ntsc{.audio = true, .rate = {30000, 1001}};
  for (const MadeKind& kind : {kVideoOnly, kBoth, kApart, ntsc}) {
    const MadeFiles files(kind);
    const Verification found = verifyRecording(files.media);
    EXPECT_THAT(problemsIn(found), IsEmpty());
    EXPECT_EQ(found.repair, Verification::Repair::Everything);
    EXPECT_THAT(found.notes, IsEmpty());
    EXPECT_EQ(found.frames, 15u);
    EXPECT_DOUBLE_EQ(found.seconds, 15 / kind.rate.value());
    EXPECT_EQ(repairRecording(files.media), std::vector<std::string>());
  }
}

TEST(MadeRecordings, OfAFewFramesAreIntact) {
  for (const std::uint32_t frames : {1u, 2u, 3u})
    for (MadeKind kind : {kVideoOnly, kBoth, kApart}) {
      kind.frames = frames;
      EXPECT_THAT(problemsIn(verifyRecording(MadeFiles(kind).media)), IsEmpty()) << frames;
    }
}

TEST(MadeRecordings, AreVerifiedFromTheFirstByteOfAllFilesToTheLast) {
  const MadeFiles files(kApart);
  std::vector<std::uint64_t> places;
  std::uint64_t all = 0;
  verifyRecording(files.media, [&](std::uint64_t done, std::uint64_t total) {
    places.push_back(done);
    all = total;
  });
  const auto video = readFile(vlPath(files.media)).size();
  EXPECT_EQ(all, video + readFile(vlPath(files.folder.file("out.m4a"))).size());
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
  EXPECT_GT(places.back(), video);
}

TEST(MadeRecordings, AreBeingWrittenAsLongAsOneOfTheirFilesIs) {
  const TempFolder folder;
  MadeRecording recording(folder, kApart);
  recording.writeAll();
  EXPECT_TRUE(recording.audio().finish());
  EXPECT_TRUE(verifyRecording(folder.file("out.m4v")).beingWritten);
  EXPECT_TRUE(recording.video().finish());
  EXPECT_FALSE(verifyRecording(folder.file("out.m4v")).beingWritten);
}

TEST(MadeRecordings, HaveTheirFragmentsAndSegments) {
  const Verification video = verifyRecording(MadeFiles(kVideoOnly).media);
  EXPECT_THAT(video.files, ElementsAre("out.m4v", "out.mpd", "out.m3u8"));
  EXPECT_EQ(video.fragments, 8u);
  EXPECT_EQ(video.segments, 3u);
  EXPECT_EQ(video.audioFrames, 0u);
  // 28 access units play in 15 frames, four in each fragment of the audio.
  const Verification both = verifyRecording(MadeFiles(kApart).media);
  EXPECT_EQ(both.fragments, 8u + 7);
  EXPECT_EQ(both.segments, 3u + 3);
  EXPECT_EQ(both.audioFrames, 28u);
  EXPECT_DOUBLE_EQ(both.audioSeconds, 28 * 1024 / 48000.0);
}

TEST(MadeRecordings, TimeEachSegmentFromTheOneBefore) {
  const MadeFiles files(kApart);
  for (const auto& [name, first, step, sap] :
       {std::tuple{"out.m4v", 1001u, 6000u, 0u}, std::tuple{"out.m4a", 12 * 1024u, 12 * 1024u, 1u}}) {
    const Bytes bytes = readFile(vlPath(files.folder.file(name)));
    std::uint32_t expected = first;
    for (const std::size_t at : offsetsOf(bytes, box_type::kSidx)) {
      EXPECT_EQ(Mp4LoadU32(&bytes[at + 20]), expected) << name;  // earliest_presentation_time
      EXPECT_EQ(bytes[at + 40] >> 7, sap) << name;               // starts_with_SAP
      expected += step;
    }
    EXPECT_EQ(expected, first + 3 * step) << name;
  }
}

// The end of a segment waits for the next frame, so that it can take all audio if none comes.
TEST(MadeRecordings, TheLastSegmentTakesTheAudioThatWaits) {
  const TempFolder folder;
  const MadeKind kind{.frames = kMadeSegmentFrames, .audio = true};
  MadeRecording recording(folder, kind);
  recording.writeAll();
  for (int i = 0; i < 9; ++i) EXPECT_EQ(recording.writeUnit(), VL_OK);
  EXPECT_TRUE(recording.finish());
  const Verification found = verifyRecording(folder.file("out.m4v"));
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_EQ(found.fragments, 3u);
  EXPECT_EQ(found.audioFrames, 11u + 9);
}

// What waits is more than a fragment's share of the audio only where it ends.
TEST(MadeRecordings, AnExactlyFullLastFragmentTakesAllTheAudio) {
  const TempFolder folder;
  const MadeKind kind{.frames = 4, .audio = true};
  MadeRecording recording(folder, kind);
  // Without audio two frames wait; then the audio of more than the four comes at once.
  for (int i = 0; i < 4; ++i) EXPECT_EQ(recording.writeFrame(), VL_OK);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(recording.writeUnit(), VL_OK);
  EXPECT_TRUE(recording.finish());
  const Bytes bytes = readFile(vlPath(folder.file("out.m4v")));
  const auto moofs = offsetsOf(bytes, box_type::kMoof);
  ASSERT_EQ(moofs.size(), 2u);
  EXPECT_EQ(verifyRecording(folder.file("out.m4v")).audioFrames, 3u);
  // The second run of each: the sample count after size, type, version and flags.
  const auto audioOf = [&](std::size_t moof) {
    const std::size_t audioRun = typeAfter(bytes, typeAfter(bytes, moof, "trun") + 4, "trun");
    return Mp4LoadU32(&bytes[audioRun + 8]);
  };
  EXPECT_EQ(audioOf(moofs[0]), 3u) << "all that its share allows";
  EXPECT_EQ(audioOf(moofs[1]), 0u);
}

TEST(MadeRecordings, OffsetsBelowZeroTakeARunOfVersionOne) {
  const TempFolder folder;
  MadeRecording recording(folder, kVideoOnly);
  for (const std::int32_t offset : {0, 0, 1, -1}) EXPECT_EQ(recording.writeFrame(offset), VL_OK);
  EXPECT_TRUE(recording.finish());
  const Bytes bytes = readFile(vlPath(folder.file("out.m4v")));
  const auto moofs = offsetsOf(bytes, box_type::kMoof);
  ASSERT_EQ(moofs.size(), 2u);
  EXPECT_EQ(bytes[typeAfter(bytes, moofs[0], "trun") + 4], 0);
  EXPECT_EQ(bytes[typeAfter(bytes, moofs[1], "trun") + 4], 1);
}

// AC-3 is timed as AAC is, except that the last fragment, if not full, has its own access units.
TEST(MadeRecordings, Ac3OfTwoFullFragmentsIsIntact) {
  for (const std::uint32_t units : {8u, 7u, 9u}) {
    const TempFolder folder;
    AudioRecording audio;
    ASSERT_TRUE(audio.create(folder.file("out.m4a")));
    ASSERT_TRUE(audio.start(madeAudio(1536), {2, 3}, {25000, 1000}, nullptr));
    for (std::uint32_t i = 0; i < units; ++i) {
      Bytes unit = madeSample(i);
      unit[0] = 0x0B;
      unit[1] = 0x77;
      ASSERT_EQ(audio.write(unit), VL_OK);
    }
    ASSERT_TRUE(audio.finish());
    const Verification found = verifyRecording(folder.file("out.m4a"));
    EXPECT_THAT(problemsIn(found), IsEmpty()) << units;
    EXPECT_EQ(found.audioFrames, units);
    const std::uint64_t rest = units % 4;
    EXPECT_DOUBLE_EQ(found.seconds, static_cast<double>((units - rest) * 1024 + rest * 1536) / 48000)
        << units;
  }
}

// An AAC frame may begin with the first byte of an AC-3 frame.
TEST(MadeRecordings, AacWhoseFirstByteIsThatOfAc3IsIntact) {
  const TempFolder folder;
  AudioRecording audio;
  ASSERT_TRUE(audio.create(folder.file("out.m4a")));
  ASSERT_TRUE(audio.start(madeAudio(), {2, 3}, {25000, 1000}, nullptr));
  for (std::uint32_t i = 0; i < 7; ++i) {
    Bytes unit = madeSample(i);
    unit[0] = 0x0B;
    unit[1] = 0x12;
    ASSERT_EQ(audio.write(unit), VL_OK);
  }
  ASSERT_TRUE(audio.finish());
  const Verification found = verifyRecording(folder.file("out.m4a"));
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_DOUBLE_EQ(found.seconds, 7 * 1024 / 48000.0);
}

TEST(MadeRecordings, HaveAtLeastOneAccessUnitAFragmentAndAMillionAtMost) {
  const auto targetDuration = [](const FrameRate& rate) {
    const TempFolder folder;
    AudioRecording audio;
    EXPECT_TRUE(audio.create(folder.file("out.m4a")));
    EXPECT_TRUE(audio.start(madeAudio(), {2, 3}, rate, nullptr));
    EXPECT_EQ(audio.write(madeSample(0)), VL_OK);
    EXPECT_TRUE(audio.finish());
    const Bytes bytes = readFile(vlPath(folder.file("outA.m3u8")));
    const std::string list(bytes.begin(), bytes.end()), key = "#EXT-X-TARGETDURATION:";
    return std::stoul(list.substr(list.find(key) + key.size()));
  };
  EXPECT_EQ(targetDuration({1000000, 1}), 0u) << "3 * 1024 samples, rounded";
  EXPECT_EQ(targetDuration({1, 100000}), 67109u) << "3 * 2^20 * 1024 samples";
}

TEST(MadeRecordings, OfABottomUpPictureListItsRows) {
  const TempFolder folder;
  MpdWriter manifest(folder.file("out.mpd"));
  VideoRecording video;
  VideoSettings settings = madeVideo({});
  settings.height = -180;
  ASSERT_TRUE(video.create(folder.file("out.m4v")));
  ASSERT_TRUE(video.start(settings, &manifest, false));
  Bytes bytes = madeSample(0);
  DFRAME frame{};
  frame.size = sizeof frame;
  frame.data = bytes.data();
  frame.bytes = static_cast<std::uint32_t>(bytes.size());
  EXPECT_EQ(video.writeVideo(frame), VL_OK);
  EXPECT_TRUE(video.finish());
  const Bytes list = readFile(vlPath(folder.file("out.mpd")));
  EXPECT_THAT(std::string(list.begin(), list.end()), HasSubstr("height=\"180\""));
  EXPECT_THAT(problemsIn(verifyRecording(folder.file("out.m4v"))), IsEmpty());
}

TEST(MadeRecordings, TheMovieBoxHasTheSampleRate) {
  const MadeFiles files(kBoth);
  const Bytes bytes = readFile(vlPath(files.media));
  EXPECT_EQ(Mp4LoadU32(&bytes[typeAfter(bytes, 0, "mp4a") + 28]), std::uint32_t{48000} << 16);
}

TEST(MadeRecordings, CountTheirFramesAndTakeNoneAfterAFailure) {
  const TempFolder folder;
  MadeRecording recording(folder, kApart);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(recording.writeFrame(), VL_OK);
  EXPECT_EQ(recording.writeUnit(), VL_OK);
  EXPECT_EQ(recording.video().frames(), 3u);
  recording.video().file().giveUp();
  EXPECT_EQ(recording.writeFrame(), VL_FAILED);
  EXPECT_EQ(recording.video().frames(), 3u);
  EXPECT_EQ(recording.writeUnit(), VL_OK) << "another file";
  recording.audio().file().giveUp();
  EXPECT_EQ(recording.writeUnit(), VL_FAILED);
  EXPECT_FALSE(recording.finish());
}

// ---- Changed media ----------------------------------------------------------------------------------

TEST(ChangedMedia, AnotherSequenceNumberIsNamedOnce) {
  const MadeFiles files;
  files.change("out.m4v", [](Bytes& bytes) {
    storeU32(bytes, offsetsOf(bytes, box_type::kMoof)[1] + 20, 77);  // after the headers, version and flags
  });
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre("out.m4v: the fragment has sequence number 77, expected 2 (stays)"));
}

// Adds ticks to the decode times of the fragments from a number on.
void delay(Bytes& bytes, std::size_t firstFragment, std::uint32_t ticks) {
  const auto moofs = offsetsOf(bytes, box_type::kMoof);
  for (std::size_t i = firstFragment; i < moofs.size(); ++i) {
    const std::size_t time = typeAfter(bytes, moofs[i], "tfdt") + 8;
    storeU32(bytes, time, Mp4LoadU32(&bytes[time]) + ticks);
  }
}

TEST(ChangedMedia, AJumpOfDecodeTimesIsReportedOnce) {
  const MadeFiles files;
  files.change("out.m4v", [](Bytes& bytes) { delay(bytes, 3, 30000); });
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre("out.m4v: track 1 has decode time 36000, expected 6000 (stays)"));
}

TEST(ChangedMedia, ALateBeginIsAProblemAndNoPause) {
  const MadeFiles files(kApart);
  files.change("out.m4a", [](Bytes& bytes) { delay(bytes, 0, 48000); });
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(problemsIn(found), ElementsAre("out.m4a: track 2 has decode time 48000, expected 0 (stays)"));
  EXPECT_THAT(found.notes, ElementsAre("the audio begins 1.000 s after the video"));
}

TEST(ChangedMedia, APauseOfTheAudioIsNotedWithItsPlace) {
  const MadeFiles files(kApart);
  files.change("out.m4a", [](Bytes& bytes) { delay(bytes, 2, 96000); });
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(found.notes, ElementsAre("the audio pauses for 2.000 s at 0.171 s, the video does not",
                                       "the audio ends 1.997 s after the video"));
}

TEST(ChangedMedia, AnEmptyIndexIsCompleted) {
  const MadeFiles files;
  const Bytes before = readFile(vlPath(files.media));
  files.change("out.m4v", [](Bytes& bytes) {
    const std::size_t index = offsetsOf(bytes, box_type::kSidx)[1];
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(index) + 32, 36, std::uint8_t{0});
  });
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre("out.m4v: the index of the segment was not completed"));
  EXPECT_THAT(repairRecording(files.media), ElementsAre("out.m4v: 1 segment index completed"));
  EXPECT_EQ(readFile(vlPath(files.media)), before);
}

TEST(ChangedMedia, AnIndexThatSaysOtherwiseIsExplained) {
  for (const auto& [place, text] :
       {std::pair{20u, "the index starts at tick 7, expected 7001"},
        std::pair{36u,
                  "reference 0 of the index says 1297 bytes and 7 ticks, but the fragment has 1297 and 2000"},
        std::pair{40u, "the index does not match its fragments"}}) {
    const MadeFiles files;
    files.change("out.m4v", [at = place](Bytes& bytes) {
      storeU32(bytes, offsetsOf(bytes, box_type::kSidx)[1] + at, 7);
    });
    const auto problems = problemsIn(verifyRecording(files.media));
    ASSERT_EQ(problems.size(), 1u) << place;
    // The sizes of fragments follow from what their boxes take.
    if (place == 36) {
      EXPECT_THAT(problems[0], HasSubstr(" and 7 ticks, but the fragment has "));
      EXPECT_TRUE(problems[0].ends_with(" and 2000"));
    } else {
      EXPECT_EQ(problems[0], std::string("out.m4v: ") + text);
    }
    repairRecording(files.media);
    EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
  }
}

// ---- Interrupted ------------------------------------------------------------------------------------

TEST(InterruptedMedia, EndAfterTheLastCompleteFragment) {
  const MadeFiles files;
  Bytes before;
  files.change("out.m4v", [&before](Bytes& bytes) {
    before = bytes;
    bytes.resize(bytes.size() - 1);
  });
  const std::size_t last = offsetsOf(before, box_type::kMoof).back();
  const std::string rest = std::to_string(before.size() - 1 - last);
  EXPECT_THAT(
      problemsIn(verifyRecording(files.media)),
      testing::Contains("out.m4v: the recording was interrupted: the last " + rest +
                        " bytes of the file contain no complete fragment (the fragment's media data are "
                        "missing or truncated)"));
  EXPECT_THAT(repairRecording(files.media),
              testing::Contains("out.m4v: " + rest + " bytes after the last complete fragment removed"));
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_EQ(found.frames, 14u);
  EXPECT_EQ(readFile(vlPath(files.media)).size(), last);
}

TEST(InterruptedMedia, ADryRunSaysTheSameAndChangesNothing) {
  const MadeFiles files;
  files.change("out.m4v", [](Bytes& bytes) { bytes.resize(bytes.size() - 1); });
  const Bytes media = readFile(vlPath(files.media));
  const std::string manifest = files.text("out.mpd"), playlist = files.text("out.m3u8");
  const auto planned = repairRecording(files.media, {}, {.dryRun = true});
  EXPECT_THAT(planned, testing::Contains("out.m3u8: to be rewritten"));
  EXPECT_EQ(readFile(vlPath(files.media)), media);
  EXPECT_EQ(files.text("out.mpd"), manifest);
  EXPECT_EQ(files.text("out.m3u8"), playlist);
  EXPECT_EQ(repairRecording(files.media).size(), planned.size());
}

// An index without a fragment goes with the fragment that never came.
TEST(InterruptedMedia, AnIndexWithoutAFragmentIsRemoved) {
  const MadeFiles files;
  std::size_t index = 0;
  files.change("out.m4v", [&index](Bytes& bytes) {
    index = offsetsOf(bytes, box_type::kSidx).back();
    bytes.resize(offsetsOf(bytes, box_type::kMoof)[6] + 5);
  });
  repairRecording(files.media);
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_EQ(found.segments, 2u);
  EXPECT_EQ(found.frames, 12u);
  EXPECT_EQ(readFile(vlPath(files.media)).size(), index);
}

std::string refusalOf(const Bytes& media) {
  const TempFolder folder;
  writeFile(vlPath(folder.file("out.m4v")), media);
  try {
    verifyRecording(folder.file("out.m4v"));
  } catch (const UserError& error) {
    return error.what();
  }
  return "";
}

TEST(InterruptedMedia, WithinTheFirstBoxesAreNoRecordingYet) {
  const Bytes whole = readFile(vlPath(MadeFiles().media));
  const std::size_t movie = offsetsOf(whole, box_type::kMoov)[0];
  const auto start = [&whole](std::size_t size) {
    return Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
  };
  EXPECT_THAT(refusalOf(start(movie - 1)), HasSubstr("does not begin with a complete file type box"));
  const std::string interrupted = refusalOf(start(movie));
  EXPECT_THAT(interrupted, testing::Not(HasSubstr("has no movie box")));
  EXPECT_EQ(refusalOf(join({start(movie), Bytes(7, 1)})), interrupted);
  EXPECT_THAT(refusalOf(join({start(movie), box("free")})),
              HasSubstr("has no movie box after its file type box"));
}

// The places of a field after a box's type: version and flags, two times or numbers, and then the field.
constexpr std::size_t kThirdField = 4 + 4 + 8;

TEST(ChangedMedia, TracksThatRecordingsDoNotHaveAreRefused) {
  const Bytes whole = readFile(vlPath(MadeFiles().media));
  const auto withField = [&whole](std::string_view type, std::uint32_t value) {
    Bytes bytes = whole;
    storeU32(bytes, typeAfter(bytes, 0, type) + kThirdField, value);
    return refusalOf(bytes);
  };
  EXPECT_THAT(withField("tkhd", 7),
              HasSubstr("track 7 should be the only one of its type, with the number 1"));
  EXPECT_THAT(withField("mdhd", 0),
              HasSubstr("track 1 lacks its timescale or the defaults of its fragments"));
  EXPECT_THAT(withField("trex", 0), HasSubstr("the movie box gives no frame duration"));
  Bytes twice = whole;
  const std::size_t movie = offsetsOf(whole, box_type::kMoov)[0], track = typeAfter(whole, movie, "trak") - 4;
  const auto at = whole.begin() + static_cast<std::ptrdiff_t>(track);
  const Bytes copy(at, at + Mp4LoadU32(&*at));
  storeU32(twice, movie, Mp4LoadU32(&twice[movie]) + static_cast<std::uint32_t>(copy.size()));
  twice.insert(twice.begin() + static_cast<std::ptrdiff_t>(track), copy.begin(), copy.end());
  EXPECT_THAT(refusalOf(twice), HasSubstr("track 1 should be the only one of its type, with the number 1"));
}

TEST(InterruptedMedia, AfterTheMovieBoxLackNothing) {
  const MadeFiles files;
  files.change("out.m4v", [](Bytes& bytes) { bytes.resize(offsetsOf(bytes, box_type::kSidx)[0]); });
  for (const std::string& problem : problemsIn(verifyRecording(files.media)))
    EXPECT_FALSE(problem.starts_with("out.m4v")) << problem;
}

TEST(ChangedMedia, AnIndexThatFollowsAnotherIsDamage) {
  const MadeFiles files;
  files.change("out.m4v", [](Bytes& bytes) {
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(offsetsOf(bytes, box_type::kSidx)[2]);
    const Bytes index(at, at + Mp4LoadU32(&*at));
    bytes.insert(at, index.begin(), index.end());
  });
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              testing::Contains(HasSubstr("one segment index follows another")));
}

TEST(ChangedMedia, ThePlacesOfASegmentAreThoseOfTheFirstIndex) {
  const MadeFiles files;
  files.change("out.m4v", [](Bytes& bytes) {
    const std::size_t index = offsetsOf(bytes, box_type::kSidx)[2];
    storeU32(bytes, index, Mp4LoadU32(&bytes[index]) - 12);
    bytes[index + 31] = 2;  // reference_count
    const auto last = bytes.begin() + static_cast<std::ptrdiff_t>(index) + 32 + 2 * 12;
    bytes.erase(last, last + 12);
  });
  std::vector<std::string> problems = problemsIn(verifyRecording(files.media));
  std::erase_if(problems, [](const std::string& problem) { return !problem.starts_with("out.m4v"); });
  EXPECT_THAT(problems, ElementsAre("out.m4v: the index of the segment does not fit its fragments and cannot "
                                    "be corrected (stays)"));
}

// Larger than the blocks of a disk, which are written or not as a whole.
constexpr MadeKind kLarge{.sampleBytes = 5000};

void neverWrite(Bytes& bytes, std::size_t fragment) {
  const std::size_t data = offsetsOf(bytes, box_type::kMdat)[fragment];
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(data) + 8, Mp4LoadU32(&bytes[data]) - 8,
              std::uint8_t{0});
}

// A power cut takes the last segment, and what of the one before it has not been synchronised.
TEST(InterruptedMedia, DataThatWereNeverWrittenAreRemovedFromTheLastTwoSegments) {
  const MadeFiles files(kLarge);
  std::size_t end = 0;
  files.change("out.m4v", [&end](Bytes& bytes) {
    for (const std::size_t fragment : {5u, 6u, 7u}) neverWrite(bytes, fragment);
    end = offsetsOf(bytes, box_type::kMoof)[5];
  });
  repairRecording(files.media);
  EXPECT_EQ(readFile(vlPath(files.media)).size(), end);
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_EQ(found.frames, 10u);
}

TEST(InterruptedMedia, TheIndexOfASegmentThatWasNeverWrittenGoesWithIt) {
  const MadeFiles files(kLarge);
  std::size_t end = 0;
  files.change("out.m4v", [&end](Bytes& bytes) {
    for (const std::size_t fragment : {6u, 7u}) neverWrite(bytes, fragment);
    end = offsetsOf(bytes, box_type::kSidx)[2];
  });
  repairRecording(files.media);
  EXPECT_EQ(readFile(vlPath(files.media)).size(), end);
}

TEST(InterruptedMedia, AJumpOfTimesGoesWithItsFragment) {
  MadeKind kind = kLarge;
  kind.audio = kind.separateAudio = true;
  const MadeFiles files(kind);
  files.change("out.m4v", [](Bytes& bytes) {
    delay(bytes, 7, 300000);
    neverWrite(bytes, 7);
  });
  EXPECT_THAT(verifyRecording(files.media).notes, IsEmpty());
}

TEST(InterruptedMedia, DataThatWereNeverWrittenBeforeThoseStay) {
  const MadeFiles files(kLarge);
  files.change("out.m4v", [](Bytes& bytes) {
    for (const std::size_t fragment : {2u, 3u, 4u, 5u, 6u, 7u}) neverWrite(bytes, fragment);
  });
  const Verification found = verifyRecording(files.media);
  EXPECT_EQ(found.frames, 6u);
  EXPECT_THAT(problemsIn(found),
              testing::Contains(HasSubstr("part of the fragment's media data was never written")));
}

// ---- Lists ------------------------------------------------------------------------------------------

// Manifest and playlists say when they were begun, each for itself.
std::string withoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex("[0-9-]+T[0-9:.]+Z"), "TIME");
}

TEST(ChangedLists, AreRewrittenAsTheyWere) {
  for (const auto& [kind, name] :
       {std::pair{kVideoOnly, "out.mpd"}, {kApart, "out.m3u8"}, {kApart, "outA.m3u8"}}) {
    const MadeFiles files(kind);
    const std::string before = files.text(name);
    std::filesystem::remove(vlPath(files.folder.file(name)));
    EXPECT_THAT(problemsIn(verifyRecording(files.media)),
                ElementsAre(std::string(name) + ": it is missing, or cannot be read"));
    EXPECT_THAT(repairRecording(files.media), ElementsAre(std::string(name) + ": rewritten"));
    EXPECT_EQ(withoutTimes(files.text(name)), withoutTimes(before)) << name;
  }
}

TEST(ChangedLists, KeepWhatOnlyTheyKnow) {
  const MadeFiles files(kApart);
  // The audio's bit rate is the host's, not that of the access units.
  EXPECT_THAT(files.text("out.mpd"), HasSubstr("bandwidth=\"128000\""));
  files.edit("out.mpd", "PT0H0M0.60S", "PT0H0M0.61S");
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre("out.mpd: MPD has mediaPresentationDuration=\"PT0H0M0.61S\", but the media say "
                          "\"PT0H0M0.60S\""));
  repairRecording(files.media);
  EXPECT_THAT(files.text("out.mpd"), HasSubstr("bandwidth=\"128000\""));
  EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
}

TEST(ChangedLists, LostAudioIsGivenUpOnlyIfThatIsAccepted) {
  const MadeFiles files(kApart);
  std::filesystem::remove(vlPath(files.folder.file("out.m4a")));
  const Verification found = verifyRecording(files.media);
  EXPECT_EQ(found.repair, Verification::Repair::Refused);
  EXPECT_THAT(problemsIn(found),
              ElementsAre("out.m4a: the audio file is missing; the lists name 3 segments of it (stays)"));
  EXPECT_THROW(repairRecording(files.media), UserError);
  EXPECT_THAT(repairRecording(files.media, {}, {.loss = AudioLoss::Accepted}),
              ElementsAre("out.mpd: rewritten", "outA.m3u8: removed"));
  EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
}

// Gives a list the line ends of the other systems.
void changeLineEnds(Bytes& bytes) {
  const std::string text(bytes.begin(), bytes.end());
  const bool windows = text.find('\r') != text.npos;
  const std::string changed =
      std::regex_replace(text, std::regex(windows ? "\r\n" : "\n"), windows ? "\n" : "\r\n");
  bytes.assign(changed.begin(), changed.end());
}

TEST(ChangedLists, PlaylistsMayHaveEitherLineEnds) {
  const MadeFiles files(kApart);
  for (const char* name : {"out.m3u8", "outA.m3u8"}) files.change(name, changeLineEnds);
  EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
  EXPECT_EQ(repairRecording(files.media), std::vector<std::string>());
  files.edit("out.m3u8", "#EXTINF:0.24", "#EXTINF:0.25");
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre(testing::AllOf(HasSubstr("says \"#EXTINF:0.25"), testing::Not(HasSubstr("\r")))));
}

TEST(ChangedLists, ALostManifestIsGivenTheTimeOfAPlaylistWithEitherLineEnds) {
  const MadeFiles files;
  const std::string text = files.text("out.m3u8"), key = "#EXT-X-PROGRAM-DATE-TIME:";
  const std::size_t at = text.find(key) + key.size();
  ASSERT_GT(at, key.size());
  files.edit("out.m3u8", text, std::regex_replace(text, std::regex("[0-9]{4}-[0-9-]+T"), "2001-02-03T"));
  const std::string time = files.text("out.m3u8").substr(at, text.find('\n', at) - at);
  files.change("out.m3u8", changeLineEnds);
  std::filesystem::remove(vlPath(files.folder.file("out.mpd")));
  repairRecording(files.media);
  EXPECT_THAT(files.text("out.mpd"), HasSubstr("availabilityStartTime=\"" + time + "\""));
}

TEST(ChangedLists, APlaylistThatEndsWithinItsLastLineIsNotComplete) {
  const MadeFiles files;
  files.change("out.m3u8", [](Bytes& bytes) {
    while (bytes.back() == '\n' || bytes.back() == '\r') bytes.pop_back();
  });
  EXPECT_THAT(problemsIn(verifyRecording(files.media)), ElementsAre(HasSubstr("\"#EXT-X-ENDLIST\"")));
}

// Times are written again; what cannot be one is replaced.
TEST(ChangedLists, TimesThatAreNoneAreNotWrittenAgain) {
  for (const std::string time : {"2026-01-01T00:00:00.000000000000000000000000Z", "yesterday&lt;"}) {
    const MadeFiles files;
    std::string manifest = files.text("out.mpd");
    files.edit("out.mpd", manifest, std::regex_replace(manifest, std::regex("[0-9-]+T[0-9:.]+Z"), time));
    std::filesystem::remove(vlPath(files.folder.file("out.m3u8")));
    repairRecording(files.media);
    EXPECT_THAT(files.text("out.mpd"), testing::Not(HasSubstr(time)));
    EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
  }
}

// Of another recording by this name.
TEST(ChangedLists, AManifestWithAnotherInitialisationSaysNothing) {
  const MadeFiles files(kApart);
  const std::string size = std::to_string(offsetsOf(readFile(vlPath(files.media)), box_type::kSidx)[0] - 1);
  files.edit("out.mpd", "range=\"0-" + size, "range=\"0-1" + size);
  files.edit("out.mpd", "bandwidth=\"128000\"", "bandwidth=\"64000\"");
  repairRecording(files.media);
  EXPECT_THAT(files.text("out.mpd"), testing::Not(HasSubstr("bandwidth=\"64000\"")));
}

// Of 28 access units of 1024 samples at 48 kHz.
std::string madeBitRate() {
  std::uint64_t bytes = 0;
  for (std::uint32_t i = 0; i < 28; ++i) bytes += madeSample(1000 + i).size();
  return "bandwidth=\"" + std::to_string(bytes * 48000 / (28 * 1024) * 8) + "\"";
}

TEST(ChangedLists, ABitRateThatNoNumberHoldsIsThatOfTheMedia) {
  for (const std::string rate : {"34359738368", "12x"}) {
    const MadeFiles files(kApart);
    files.edit("out.mpd", "bandwidth=\"128000\"", "bandwidth=\"" + rate + "\"");
    repairRecording(files.media);
    EXPECT_THAT(files.text("out.mpd"), HasSubstr(madeBitRate())) << rate;
    EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
  }
}

TEST(ChangedLists, ALostManifestIsGivenTheBitRateOfTheAudio) {
  const MadeFiles files(kApart);
  std::filesystem::remove(vlPath(files.folder.file("out.mpd")));
  repairRecording(files.media);
  EXPECT_THAT(files.text("out.mpd"), HasSubstr(madeBitRate()));
}

// Cut before their first index, media say nothing of their segments.
void dropSegments(Bytes& bytes) {
  bytes.resize(offsetsOf(bytes, box_type::kSidx)[0]);
}

TEST(ChangedLists, ThePlaylistSaysHowLongTheSegmentsOfAFileWithoutAnyAre) {
  const MadeFiles files({.rate = {2000, 1000}});
  files.change("out.m4v", dropSegments);
  std::filesystem::remove(vlPath(files.folder.file("out.mpd")));
  repairRecording(files.media);
  EXPECT_THAT(files.text("out.m3u8"), HasSubstr("#EXT-X-TARGETDURATION:3\n"));
  EXPECT_THAT(files.text("out.mpd"), HasSubstr("<SegmentList timescale=\"2000\" duration=\"6000\">"));
  EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
}

// The index is removed as well, so that the lists say the same before a repair and after it.
TEST(ChangedLists, AnIndexWithoutAFragmentDoesNotSayHowLongSegmentsAre) {
  const MadeFiles files(kApart);
  const std::string stated = "<SegmentList timescale=\"48000\" duration=\"4096\">";
  files.edit("out.mpd", "<SegmentList timescale=\"48000\" duration=\"12288\">", stated);
  files.change("out.m4a", [](Bytes& bytes) {
    bytes.resize(offsetsOf(bytes, box_type::kMoof)[0]);
    EXPECT_EQ(offsetsOf(bytes, box_type::kSidx).size(), 1u);
  });
  repairRecording(files.media);
  EXPECT_THAT(files.text("out.mpd"), HasSubstr(stated));
  EXPECT_THAT(problemsIn(verifyRecording(files.media)), IsEmpty());
}

// The only fragment with frames may be a short one.
TEST(ChangedLists, AFragmentBeforeOneOfAudioAloneDoesNotSayHowLongSegmentsAre) {
  const MadeFiles files({.frames = 2, .audio = true}, 5);
  files.edit("out.mpd", "duration=\"6000\"", "duration=\"9000\"");
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_EQ(found.fragments, 2u);
}

TEST(ChangedLists, ALargeFileIsNoPlaylist) {
  const MadeFiles files;
  std::filesystem::resize_file(vlPath(files.folder.file("out.m3u8")), kMaxManifestBytes + 1);
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre("out.m3u8: it is missing, or cannot be read"));
}

TEST(ChangedLists, AudioWhoseManifestNamesVideoElsewhereLacksNothing) {
  const MadeFiles files(kApart);
  std::filesystem::remove(vlPath(files.media));
  const std::string audio = files.folder.file("out.m4a");
  const auto missing = testing::Contains(HasSubstr("which is missing"));
  EXPECT_THAT(problemsIn(verifyRecording(audio)), missing);
  files.edit("out.mpd", "<BaseURL>out.m4v", "<BaseURL>elsewhere/out.m4v");
  EXPECT_THAT(problemsIn(verifyRecording(audio)), testing::Not(missing));
}

TEST(ChangedLists, AudioThatTheManifestDoesNotPlaceIsNoPartOfTheRecording) {
  const MadeFiles files;
  const MadeFiles others(kApart);
  std::filesystem::copy_file(vlPath(others.folder.file("out.m4a")), vlPath(files.folder.file("out.m4a")));
  const Verification found = verifyRecording(files.media);
  EXPECT_THAT(problemsIn(found), IsEmpty());
  EXPECT_EQ(found.audioFrames, 0u);
}

// The manifest is saved once a segment of the video; the audio's playlist may be ahead of it.
TEST(ChangedLists, LostAudioIsCountedByItsPlaylistToo) {
  const MadeFiles files(kApart);
  std::filesystem::remove(vlPath(files.folder.file("out.m4a")));
  files.change("out.mpd", [](Bytes& bytes) { bytes.clear(); });
  EXPECT_THAT(
      problemsIn(verifyRecording(files.media)),
      testing::Contains("out.m4a: the audio file is missing; the lists name 3 segments of it (stays)"));
}

TEST(ChangedLists, AudioThatIsEmptyIsLost) {
  const MadeFiles files(kApart);
  writeFile(vlPath(files.folder.file("out.m4a")), {});
  EXPECT_THAT(problemsIn(verifyRecording(files.media)),
              ElementsAre("out.m4a: the audio file is empty; the lists name 3 segments of it (stays)"));
}

}  // namespace

}  // namespace fmp4
