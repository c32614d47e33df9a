// One call of the host or the system that fails while a recording is made, checked, repaired, or made of a
// file: what is listed plays, what was accepted is there, and nothing is taken for the end that is none.
#include <algorithm>
#include <optional>
#include <set>

#include "tests/faults/failing_calls.h"
#include "tests/faults/open_descriptors.h"
#include "tests/faults/packaged_file.h"
#include "tests/recovery/recovery.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/log_capture.h"
#include "tool/host/refusal_reason.h"

namespace fmp4 {

namespace {

constexpr CallKind kFailing[] = {CallKind::Open,   CallKind::Read,    CallKind::Write,   CallKind::Seek,
                                 CallKind::Size,   CallKind::Flush,   CallKind::Replace, CallKind::Cut,
                                 CallKind::Stream, CallKind::Library, CallKind::Clock};

// Does `work(kind, n)` for the n-th call of each kind, until a call is not made. `work` returns whether it
// was. Returns the kinds of which there was a call.
template <class Work>
std::set<CallKind> atEachCall(Work work) {
  std::set<CallKind> made;
  for (const CallKind kind : kFailing) {
    for (std::uint64_t n = 1; !testing::Test::HasFailure(); ++n) {
      SCOPED_TRACE("call " + std::to_string(n) + " of kind " + std::to_string(static_cast<int>(kind)));
      LogCapture log;
      const std::size_t descriptors = openDescriptors();
      const bool met = work(kind, n);
      EXPECT_EQ(openDescriptors(), descriptors);
      if (!met) break;
      made.insert(kind);
    }
  }
  return made;
}

constexpr std::uint32_t kWritten = kSegmentFrames + 7;

class RecordingFaults : public testing::TestWithParam<Kind> {};

TEST_P(RecordingFaults, OfAnyCallLeaveWhatIsListedAndARestThatCanBeRepaired) {
  const Kind& kind = GetParam();
  const auto made = atEachCall([&kind](CallKind call, std::uint64_t n) {
    const TempFolder folder;
    bool opened = false, accepted = false, closed = false, met = false;
    {
      const FailingCall failing(call, n);
      MediaFile file = startKind(folder, kind);
      opened = file != nullptr;
      if (opened) {
        accepted = writeAll(*file, kind, kWritten);
        closed = closeFile(file) == VL_OK;
      }
      file.reset();
      met = failing.met();
    }
    if (!opened) return met;
    expectListsIntact(folder);
    const bool soundRefused = kind.audioApart() && !std::filesystem::exists(folder.file("out.m4a"));
    expectRepairable(folder, soundRefused ? kVideoAlone : kind);
    if (accepted && closed) {
      EXPECT_EQ(completeSamples(folder.file(kind.media())), kWritten);
    }
    return met;
  });
  EXPECT_EQ(made, (std::set{CallKind::Open, CallKind::Write, CallKind::Seek, CallKind::Flush,
                            CallKind::Replace, CallKind::Stream, CallKind::Clock}));
}

INSTANTIATE_TEST_SUITE_P(Of, RecordingFaults, testing::Values(kAudioApart, kAllInOne), [](const auto& info) {
  return info.param.audioApart() ? "SoundApart" : "AllInOne";
});

// A recording whose last fragments are truncated, with what is known of it.
struct Interruption {
  std::map<std::string, Bytes> files;
  std::string problems;
  std::map<std::string, Bytes> repaired;

  Interruption() {
    {
      const TempFolder folder;
      MediaFile file = startKind(folder, kAudioApart);
      writeAll(*file, kAudioApart, kWritten);
      files = filesOf(folder);
    }
    for (const char* name : {"out.m4v", "out.m4a"}) files[name].resize(files[name].size() - 3);
    const TempFolder folder;
    fill(folder, files);
    problems = problemsOf(verifyRecording(folder.file("out.mpd")));
    repairRecording(folder.file("out.mpd"));
    repaired = filesOf(folder);
  }
};

TEST(CheckFaults, OfAnyCallFailTheVerificationOrChangeNothingItSays) {
  const Interruption interruption;
  const TempFolder folder;
  fill(folder, interruption.files);
  unsigned failed = 0;
  const auto made = atEachCall([&](CallKind call, std::uint64_t n) {
    const FailingCall failing(call, n);
    try {
      EXPECT_EQ(problemsOf(verifyRecording(folder.file("out.m4v"))), interruption.problems);
    } catch (const UserError&) {
      ++failed;
    }
    return failing.met();
  });
  EXPECT_GT(failed, 20u);
  EXPECT_EQ(made,
            (std::set{CallKind::Open, CallKind::Read, CallKind::Seek, CallKind::Size, CallKind::Clock}));
  EXPECT_EQ(filesOf(folder), interruption.files);
}

// Above all, what cannot be read is never cut off.
TEST(CheckFaults, OfAnyCallMakeRepairRefuseOrDoAllOfItsWork) {
  const Interruption interruption;
  unsigned refused = 0;
  const auto made = atEachCall([&](CallKind call, std::uint64_t n) {
    const TempFolder folder;
    fill(folder, interruption.files);
    bool met = false, done = false;
    {
      const FailingCall failing(call, n);
      try {
        repairRecording(folder.file("out.m4v"));
        done = true;
      } catch (const UserError&) {
        ++refused;
      }
      met = failing.met();
    }
    if (done) {
      EXPECT_EQ(filesOf(folder), interruption.repaired);
    } else if (call == CallKind::Read || call == CallKind::Size || call == CallKind::Open) {
      EXPECT_EQ(filesOf(folder).at("out.m4v").size() >= interruption.repaired.at("out.m4v").size(), true);
    }
    repairRecording(folder.file("out.m4v"));
    EXPECT_EQ(filesOf(folder), interruption.repaired);
    return met;
  });
  EXPECT_GT(refused, 20u);
  EXPECT_EQ(made, (std::set{CallKind::Open, CallKind::Read, CallKind::Write, CallKind::Seek, CallKind::Size,
                            CallKind::Flush, CallKind::Replace, CallKind::Cut, CallKind::Clock}));
}

// ---- Packaging --------------------------------------------------------------------------------------

// Frames and access units of a recording, by the program's own source.
std::vector<Bytes> samplesOf(const std::string& path, std::uint32_t handler) {
  SourceFile file(path);
  std::vector<Bytes> samples;
  const SourceTrack* const track = file.trackOfHandler(handler);
  for (std::size_t i = 0; track && i < track->samples.size(); ++i) {
    const auto bytes = file.read(*track, i);
    samples.emplace_back(bytes.begin(), bytes.end());
  }
  return samples;
}

TEST(PackageFaults, OfAnyCallFailThePackagingOrLeaveItComplete) {
  const TempFolder media;
  const std::string input = media.file("clip.mp4");
  makeMedia(input, videoInput(2, "25", "160x96") + toneInput(2) + h264Codec(10, 0) + fragmented() +
                       std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  std::vector<Bytes> frames, units;
  {
    const TempFolder folder;
    packageFile(input, folder.file("out.mp4"));
    frames = samplesOf(folder.file("out.m4v"), Mp4FourCc("vide"));
    units = samplesOf(folder.file("out.m4a"), Mp4FourCc("soun"));
    ASSERT_EQ(frames.size(), 50u);
  }
  unsigned failed = 0;
  const auto made = atEachCall([&](CallKind call, std::uint64_t n) {
    const TempFolder folder;
    bool met = false, done = false;
    {
      const FailingCall failing(call, n);
      try {
        packageFile(input, folder.file("out.mp4"));
        done = true;
      } catch (const UserError&) {
        ++failed;
      }
      met = failing.met();
    }
    expectListsIntact(folder);
    if (done) {
      EXPECT_EQ(samplesOf(folder.file("out.m4v"), Mp4FourCc("vide")), frames);
      EXPECT_EQ(samplesOf(folder.file("out.m4a"), Mp4FourCc("soun")), units);
    }
    return met;
  });
  EXPECT_GT(failed, 20u);
  EXPECT_EQ(made, (std::set{CallKind::Open, CallKind::Read, CallKind::Write, CallKind::Seek, CallKind::Size,
                            CallKind::Flush, CallKind::Replace, CallKind::Stream, CallKind::Library,
                            CallKind::Clock}));
}

// ---- What is said of files that cannot be read -------------------------------------------------------

TEST(RefusalFaults, OfAnyCallSayThatTheFileCannotBeReadOrNothing) {
  const TempFolder media;
  const std::string input = media.file("clip.mp4");
  makeMedia(input, videoInput(1, "25", "160x96") + h264Codec(10, 0) + fragmented());
  using Ask = std::optional<Refusal> (*)(const std::string&);
  for (const Ask ask : {Ask(openTrouble), Ask(sourceTrouble), Ask(boxTrouble), Ask(fileTrouble)}) {
    unsigned unreadable = 0;
    atEachCall([&](CallKind call, std::uint64_t n) {
      const FailingCall failing(call, n);
      if (const auto trouble = ask(input)) {
        EXPECT_STREQ(trouble->code, "unreadable") << trouble->text;
        ++unreadable;
      }
      return failing.met();
    });
    EXPECT_GE(unreadable, 4u);
  }
}

}  // namespace

}  // namespace fmp4
