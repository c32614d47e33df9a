// A recording truncated at every byte of its last two fragments; and the result of a repair, compared with
// what ending the recording there would have written.
#include <gmock/gmock.h>

#include "base/bytes.h"
#include "tests/recovery/recovery.h"
#include "tests/support/sanitized.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

// Where the last two fragments of a file begin; they may be in two segments.
std::uint64_t lastTwoFragments(const std::string& path) {
  std::vector<std::uint64_t> starts;
  BoxFile file(path);
  for (const Mp4Box* box = file.root->first; box; box = box->next) {
    if (box->type == Mp4FourCc("moof")) starts.push_back(box->position);
  }
  return starts.at(starts.size() - 2);
}

std::map<std::string, Bytes> recorded(const Kind& kind, std::uint32_t frames) {
  const TempFolder folder;
  MediaFile file = startKind(folder, kind);
  EXPECT_TRUE(writeAll(*file, kind, frames));
  EXPECT_EQ(closeFile(file), VL_OK);
  return filesOf(folder);
}

struct Cut {
  Kind kind;
  const char* media;
  std::uint32_t frames;
  const char* name;
};

#if defined(_WIN32)
constexpr std::uint64_t kStep = 13;  // files are slower there
#else
constexpr std::uint64_t kStep = ofSanitized<std::uint64_t>(1, 11);
#endif

class Truncated : public testing::TestWithParam<Cut> {};

TEST_P(Truncated, AtEveryByteOfItsLastTwoFragmentsIsRepaired) {
  const auto& [kind, media, frames, name] = GetParam();
  const auto files = recorded(kind, frames);
  std::uint64_t from = 0;
  {
    const TempFolder folder;
    fill(folder, files);
    from = lastTwoFragments(folder.file(media));
  }
  const std::uint64_t size = files.at(media).size();
  ASSERT_GT(size, from + 250);
  for (std::uint64_t length = from; length < size; length += kStep) {
    SCOPED_TRACE("length " + std::to_string(length));
    const TempFolder folder;
    fill(folder, files);
    std::filesystem::resize_file(folder.file(media), length);
    EXPECT_NE(verifyRecording(folder.file(media)).problems.count(), 0u);
    expectRepairable(folder, kind);
    if (testing::Test::HasFailure()) break;
  }
}

INSTANTIATE_TEST_SUITE_P(Recording, Truncated,
                         testing::Values(Cut{kAudioApart, "out.m4v", kSegmentFrames + 6, "Video"},
                                         Cut{kAudioApart, "out.m4a", kSegmentFrames + 6, "Audio"},
                                         // The last fragment has a segment to itself.
                                         Cut{kVideoAlone, "out.m4v", kSegmentFrames + 1,
                                             "VideoAcrossSegments"},
                                         Cut{kAllInOne, "out.ismv", kSegmentFrames + 6, "AllInOne"}),
                         [](const auto& info) { return info.param.name; });

// ---- As if it had been ended there ------------------------------------------------------------------

std::map<std::string, Bytes> withoutDates(std::map<std::string, Bytes> files) {
  for (auto& [name, bytes] : files) {
    if (name.ends_with(".m4v") || name.ends_with(".m4a") || name.ends_with(".ismv")) continue;
    const std::string text = withoutTime({bytes.begin(), bytes.end()});
    bytes.assign(text.begin(), text.end());
  }
  return files;
}

class Interrupted : public testing::TestWithParam<Kind> {};

// Frame by frame: the files that a recording leaves when it is interrupted.
TEST_P(Interrupted, IsRepairedToWhatEndingItWouldHaveWritten) {
  const Kind& kind = GetParam();
  const TempFolder folder;
  MediaFile file = startKind(folder, kind);
  std::uint32_t audioUnits = 0;
  for (std::uint32_t frames = kFragmentFrames; frames <= 2 * kSegmentFrames + kFragmentFrames;
       frames += kFragmentFrames) {
    for (std::uint32_t i = frames - kFragmentFrames; i < frames; ++i) {
      for (; kind.hasAudio && audioUnits < audioOf(i + 1); ++audioUnits)
        ASSERT_EQ(writeSample(*file, 3, QVR_MODE_AUDIO, audio(audioUnits), audioUnits), VL_OK);
      ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, videoBytes(i), i,
                            i % kInterval == 0 ? DFRAME_KEY : DFRAME_NOT_KEY),
                VL_OK);
    }
    const TempFolder cut;
    fill(cut, filesOf(folder));
    repairRecording(cut.file(kind.media()));

    // With audio in the same file a segment's last fragment waits for the next frame.
    const bool waits = kind.hasAudio && !kind.audioApart() && frames % kSegmentFrames == 0;
    const std::uint32_t completeFrames = waits ? frames - kFragmentFrames : frames;
    // Of separate audio, complete fragments only.
    const std::uint32_t completeAudio = kind.audioApart()
                                            ? audioUnits / kAudioFragmentFrames * kAudioFragmentFrames
                                            : audioOf(completeFrames);
    if (kind.audioApart() && completeAudio == 0) continue;  // its file would not exist
    const TempFolder reference;
    MediaFile ended = startKind(reference, kind);
    std::uint32_t written = 0;
    for (std::uint32_t i = 0; i < completeFrames; ++i) {
      for (; kind.hasAudio && written < std::min(audioOf(i + 1), completeAudio); ++written)
        ASSERT_EQ(writeSample(*ended, 3, QVR_MODE_AUDIO, audio(written), written), VL_OK);
      ASSERT_EQ(writeSample(*ended, 1, QVR_MODE_VIDEO, videoBytes(i), i,
                            i % kInterval == 0 ? DFRAME_KEY : DFRAME_NOT_KEY),
                VL_OK);
    }
    ASSERT_EQ(closeFile(ended), VL_OK);
    auto actual = withoutDates(filesOf(cut)), expected = withoutDates(filesOf(reference));
    // Until the first segment is listed, no file contains the bit rate that the host specified.
    if (kind.audioApart() && !filesOf(folder).contains("out.mpd")) {
      for (auto* files : {&actual, &expected}) {
        Bytes& bytes = (*files)["out.mpd"];
        const std::string text = std::regex_replace(std::string(bytes.begin(), bytes.end()),
                                                    std::regex("bandwidth=\"[0-9]+\""), "");
        bytes.assign(text.begin(), text.end());
      }
    }
    for (const auto& [name, bytes] : expected)
      EXPECT_EQ(std::string(actual[name].begin(), actual[name].end()),
                std::string(bytes.begin(), bytes.end()))
          << name << " after " << frames << " frames";
    EXPECT_EQ(actual.size(), expected.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Recording, Interrupted, testing::Values(kVideoAlone, kAudioApart, kAllInOne),
                         [](const auto& info) {
                           return !info.param.hasAudio      ? "VideoOnly"
                                  : info.param.audioApart() ? "SeparateAudio"
                                                            : "AllInOne";
                         });

TEST(Repaired, KeepsWhenTheRecordingBegan) {
  const auto files = recorded(kAudioApart, kSegmentFrames + 6);
  const TempFolder folder;
  fill(folder, files);
  std::filesystem::resize_file(folder.file("out.m4v"), files.at("out.m4v").size() - 1);
  repairRecording(folder.file("out.m4v"));
  const auto dates = [](const std::string& text) {
    const std::regex date("20[0-9]{2}-[0-9T:.-]+Z");
    return std::vector<std::string>(std::sregex_token_iterator(text.begin(), text.end(), date), {});
  };
  for (const char* name : {"out.mpd", "out.m3u8"}) {
    const Bytes& before = files.at(name);
    EXPECT_EQ(dates(textOf(folder.file(name))), dates({before.begin(), before.end()})) << name;
  }
}

TEST(Repaired, WithoutAnyListGetsAllOfThem) {
  auto files = recorded(kAudioApart, kSegmentFrames + 6);
  const auto expected = withoutDates(files);
  for (const char* name : {"out.mpd", "out.m3u8", "outA.m3u8"}) files.erase(name);
  const TempFolder folder;
  fill(folder, files);
  repairRecording(folder.file("out.m4v"));
  const auto actual = withoutDates(filesOf(folder));
  EXPECT_EQ(actual.at("out.m3u8"), expected.at("out.m3u8"));
  EXPECT_EQ(actual.at("outA.m3u8"), expected.at("outA.m3u8"));
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("<BaseURL>out.m4a</BaseURL>"));
  expectRepairable(folder, kAudioApart);
}

TEST(Repaired, DamageInTheMiddleIsReportedAndNothingChanged) {
  auto files = recorded(kVideoAlone, kSegmentFrames + 6);
  std::uint64_t at = 0;
  {
    const TempFolder folder;
    fill(folder, files);
    at = BoxFile(folder.file("out.m4v")).at("moof[5]")->position;
  }
  files["out.m4v"][at + 4] = 'x';
  const TempFolder folder;
  fill(folder, files);
  const Verification found = verifyRecording(folder.file("out.m4v"));
  EXPECT_FALSE(found.problems.repairable());
  EXPECT_THAT(problemsOf(found), HasSubstr("complete fragments follow the damage"));
  EXPECT_THROW(repairRecording(folder.file("out.m4v")), UserError);
  EXPECT_EQ(filesOf(folder), files);
}

TEST(Repaired, ARecordingInProgressIsLeftAlone) {
  const TempFolder folder;
  MediaFile file = startKind(folder, kVideoAlone);
  writeAll(*file, kVideoAlone, kSegmentFrames + 6);
  const auto before = filesOf(folder);
  EXPECT_TRUE(verifyRecording(folder.file("out.m4v")).beingWritten);
  EXPECT_THROW(repairRecording(folder.file("out.m4v")), UserError);
  EXPECT_EQ(filesOf(folder), before);
  EXPECT_EQ(closeFile(file), VL_OK);
  EXPECT_EQ(verifyRecording(folder.file("out.m4v")).problems.count(), 0u);
}

// An index of another size cannot be corrected in place: what follows would be overwritten.
TEST(Repaired, AnIndexOfAnotherSizeIsLeftAsItIs) {
  auto files = recorded(kVideoAlone, 2 * kSegmentFrames + 6);
  Bytes& media = files["out.m4v"];
  std::ptrdiff_t at = 0;
  {
    const TempFolder folder;
    fill(folder, files);
    at = static_cast<std::ptrdiff_t>(BoxFile(folder.file("out.m4v")).at("sidx[1]")->position);
  }
  // The second of three indexes loses its last reference, of 12 bytes.
  constexpr std::uint32_t kReference = 12;
  const std::uint32_t size = Mp4LoadU32(&media[static_cast<std::size_t>(at)]);
  const Bytes less = u32(size - kReference);
  std::copy(less.begin(), less.end(), media.begin() + at);
  --media[static_cast<std::size_t>(at) + 31];  // reference_count
  media.erase(media.begin() + at + static_cast<std::ptrdiff_t>(size - kReference), media.begin() + at + size);
  const TempFolder folder;
  fill(folder, files);
  EXPECT_THAT(problemsOf(verifyRecording(folder.file("out.m4v"))),
              HasSubstr("the index of the segment does not fit its fragments and cannot be corrected"));
  repairRecording(folder.file("out.m4v"));
  EXPECT_EQ(readFile(folder.file("out.m4v")), media);
}

}  // namespace

}  // namespace fmp4
