// Writes, flushes and file replacements that fail at any point of a recording.
#include <set>

#include "tests/recovery/recovery.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

// Two full segments and a part of a third, whose last fragment is not full.
constexpr std::uint32_t kFrames = 2 * kSegmentFrames + 7;

#if defined(_WIN32)
constexpr std::uint64_t kCallStep = 3;  // files are slower there
#else
constexpr std::uint64_t kCallStep = 1;
#endif

struct Outcome {
  bool took = true;    // every sample was accepted
  bool closed = true;  // without an error
};

Outcome record(const TempFolder& folder, const Kind& kind, FaultPlan plan) {
  LogCapture log;
  setFaults(plan);
  MediaFile file = startKind(folder, kind);
  if (!file) return {false, false};
  Outcome outcome;
  outcome.took = writeAll(*file, kind, kFrames);
  outcome.closed = closeFile(file) == VL_OK;
  return outcome;
}

class Faults : public testing::TestWithParam<std::pair<Kind, Fault>> {};

TEST_P(Faults, AtAnyCallKeepListedMediaAndLeaveTheRestRepairable) {
  const auto& [kind, fault] = GetParam();
  std::uint64_t calls = 0;
  {
    const TempFolder folder;
    ASSERT_TRUE(record(folder, kind, {}).closed);
    calls = hostCalls();
    expectFrames(folder.file(kind.manifest()), kFrames);
  }
  ASSERT_GT(calls, 50u);
  for (std::uint64_t n = 1; n <= calls; n += kCallStep) {
    SCOPED_TRACE("call " + std::to_string(n));
    const TempFolder folder;
    const Outcome outcome = record(folder, kind, {fault, n});
    ASSERT_TRUE(faultHappened());
    const HostCallKind at = faultedKind();
    setFaults({});
    const bool ofMedia = at == HostCallKind::Write || at == HostCallKind::Flush;
    // The host gets an error when media were not written, but not for lists.
    const bool opened = n > 1;
    const bool companionNotCreated = n == 2 && kind.audioApart();
    if (ofMedia && !companionNotCreated) {
      EXPECT_FALSE(outcome.took && outcome.closed);
    }
    if (!ofMedia && fault != Fault::DiskFull) {
      EXPECT_TRUE(outcome.took && outcome.closed);
    }
    if (!opened) continue;
    expectListsIntact(folder);
    // Without its audio file the recording accepts no audio.
    expectRepairable(folder, companionNotCreated ? kVideoAlone : kind);
    if (testing::Test::HasFailure()) break;
  }
}

std::string nameOf(const testing::TestParamInfo<std::pair<Kind, Fault>>& info) {
  const auto& [kind, fault] = info.param;
  const std::string what = fault == Fault::Fail    ? "Fail"
                           : fault == Fault::Short ? "ComeUpShort"
                                                   : "FindTheDiskFull";
  return std::string(!kind.hasAudio ? "VideoOnly" : kind.audioApart() ? "SeparateAudio" : "AllInOne") + what;
}

INSTANTIATE_TEST_SUITE_P(
    Recording, Faults,
    testing::Values(std::pair{kAudioApart, Fault::Fail}, std::pair{kAudioApart, Fault::Short},
                    std::pair{kAudioApart, Fault::DiskFull}, std::pair{kAllInOne, Fault::Fail},
                    std::pair{kAllInOne, Fault::Short}, std::pair{kAllInOne, Fault::DiskFull}),
    nameOf);

// ---- Repair itself ----------------------------------------------------------------------------------

// A recording with a separate audio file, interrupted within the second segment, its last fragments
// truncated.
std::map<std::string, Bytes> interruptedRecording() {
  const TempFolder folder;
  std::map<std::string, Bytes> files;
  MediaFile file = startKind(folder, kAudioApart);
  writeAll(*file, kAudioApart, kSegmentFrames + 7);
  files = filesOf(folder);
  for (const char* name : {"out.m4v", "out.m4a"}) files[name].resize(files[name].size() - 3);
  return files;
}

TEST(RepairFaults, AtAnyCallLeaveWhatTheNextRepairMakesIntact) {
  const auto before = interruptedRecording();
  std::map<std::string, Bytes> entire;
  {
    const TempFolder folder;
    fill(folder, before);
    setFaults({});
    repairRecording(folder.file("out.mpd"));
    entire = filesOf(folder);
  }
  const std::uint64_t calls = hostCalls();
  ASSERT_GE(calls, 9u);
  for (const Fault fault : {Fault::Fail, Fault::Short, Fault::DiskFull}) {
    for (std::uint64_t n = 1; n <= calls; ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      const TempFolder folder;
      fill(folder, before);
      {
        LogCapture log;
        setFaults({fault, n});
        EXPECT_THROW(repairRecording(folder.file("out.m4v")), UserError);
        setFaults({});
      }
      repairRecording(folder.file("out.m4v"));
      EXPECT_EQ(filesOf(folder), entire);
    }
  }
}

// Media that the disk may have lost are listed by nothing that follows.
TEST(FailedFlush, EndsTheRecordingOfItsFile) {
  for (std::uint64_t n = 1;; ++n) {
    const TempFolder folder;
    LogCapture log;
    setFaults({Fault::Fail, n});
    MediaFile file = startKind(folder, kVideoAlone);
    if (!file) continue;
    const bool took = writeAll(*file, kVideoAlone, kSegmentFrames + 1);
    if (!faultHappened()) break;
    if (faultedKind() != HostCallKind::Flush) continue;
    EXPECT_FALSE(took);
    const auto listed = listedIn(folder);
    for (std::uint32_t i = 0; i < 2 * kSegmentFrames; ++i)
      ASSERT_NE(writeSample(*file, 1, QVR_MODE_VIDEO, videoBytes(i), i), VL_OK) << i;
    EXPECT_NE(closeFile(file), VL_OK);
    EXPECT_EQ(listedIn(folder)["out.m3u8"], listed.at("out.m3u8"));
    return;
  }
  FAIL() << "no flush of media";
}

// Where the parts of a media file end: its first boxes, and each fragment.
std::set<std::uint64_t> endsOfParts(const std::string& path) {
  std::set<std::uint64_t> ends;
  const BoxFile file(path);
  for (const Mp4Box* box = file.root->first; box; box = box->next) {
    if (box->type != Mp4FourCc("sidx") && box->type != Mp4FourCc("moof")) ends.insert(box->end());
  }
  return ends;
}

// What was written of a fragment is removed, and none takes its place.
TEST(FailedWrite, EndsItsFileAfterTheLastCompleteFragment) {
  std::set<std::uint64_t> ends;
  {
    const TempFolder folder;
    ASSERT_TRUE(record(folder, kVideoAlone, {}).closed);
    ends = endsOfParts(folder.file("out.m4v"));
  }
  ASSERT_EQ(ends.size(), 2 + (kFrames + 1) / kFragmentFrames);
  std::set<std::uint64_t> sizes;
  for (std::uint64_t n = 1;; n += kCallStep) {
    SCOPED_TRACE("call " + std::to_string(n));
    const TempFolder folder;
    LogCapture log;
    setFaults({Fault::Short, n});
    MediaFile file = startKind(folder, kVideoAlone);
    if (!file) continue;
    const bool took = writeAll(*file, kVideoAlone, kSegmentFrames + kFragmentFrames);
    if (!faultHappened()) break;
    if (faultedKind() != HostCallKind::Write) continue;
    EXPECT_FALSE(took);
    const std::uint64_t size = std::filesystem::file_size(folder.file("out.m4v"));
    EXPECT_TRUE(ends.contains(size)) << size;
    for (std::uint32_t i = 0; i < 2 * kFragmentFrames; ++i)
      ASSERT_NE(writeSample(*file, 1, QVR_MODE_VIDEO, videoBytes(i), i), VL_OK) << i;
    EXPECT_NE(closeFile(file), VL_OK);
    EXPECT_EQ(std::filesystem::file_size(folder.file("out.m4v")), size);
    sizes.insert(size);
  }
  EXPECT_GE(sizes.size(), kSegmentFrames / kFragmentFrames / kCallStep);
}

}  // namespace

}  // namespace fmp4
