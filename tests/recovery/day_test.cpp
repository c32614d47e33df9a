// A day of recording: constant memory, audio and video in sync to the sample, intact, and as cheap to open
// and to seek as any other. Five frames a second keep it short; bench/record.cpp records at the full rate.
#include <random>

#include "mp4box/boxes/tfdt.h"
#include "tests/corrupt/counted_reads.h"
#include "tests/recovery/recovery.h"
#include "tests/support/controlled_new.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kRate = 5000, kScale = 1001, kSampleRate = 48000;
constexpr std::uint32_t kHourFrames = 3600 * kRate / kScale;
constexpr std::uint32_t kFrames = 24 * kHourFrames;
constexpr std::uint32_t kFramesPerFragment = 30, kFragmentsPerSegment = 10;

// Access units of audio that play until the end of so many video frames.
std::uint64_t audioUntil(std::uint64_t frames) {
  return frames * kScale * kSampleRate / (kRate * 1024ull);
}

Bytes dayVideo(std::uint32_t frame) {
  return join({u32(frame), u8(7)});
}

// Records the day; returns the peak memory of its first hour and of the whole day.
struct Memory {
  std::size_t firstHour = 0;
  std::size_t day = 0;
};

Memory recordDay(const std::string& path) {
  RecordingDescription d;
  d.rate = kRate;
  d.scale = kScale;
  d.audioMask = 3;
  Memory memory;
  const CountingNew counting;
  MediaFile file = startRecording(path, d, 30);
  const Bytes coded = {1, 2, 3};
  std::uint64_t audioUnits = 0;
  for (std::uint32_t i = 0; i < kFrames; ++i) {
    for (; audioUnits < audioUntil(i + 1); ++audioUnits) {
      if (writeSample(*file, 3, QVR_MODE_AUDIO, coded) != VL_OK)
        ADD_FAILURE() << "access unit " << audioUnits;
    }
    const auto flags = i % 30 == 0 ? DFRAME_KEY : DFRAME_NOT_KEY;
    if (writeSample(*file, 1, QVR_MODE_VIDEO, dayVideo(i), i, flags) != VL_OK) ADD_FAILURE() << "frame " << i;
    if (i == kHourFrames) memory.firstHour = counting.peakBytes();
  }
  EXPECT_EQ(closeFile(file), VL_OK);
  memory.day = counting.peakBytes();
  return memory;
}

class Day : public testing::TestWithParam<const char*> {};

TEST_P(Day, StaysInSyncIntactAndCheapToOpenInConstantMemory) {
  const TempFolder folder;
  const std::string path = folder.file(GetParam());
  const bool apart = path.ends_with(".m4v");
  constexpr std::uint64_t kFragments = (kFrames + kFramesPerFragment - 1) / kFramesPerFragment;
  constexpr std::uint64_t kSegments = (kFragments + kFragmentsPerSegment - 1) / kFragmentsPerSegment;

  const Memory memory = recordDay(path);
  // Only the text of the manifest grows, in a buffer that doubles now and then.
  EXPECT_LE(memory.day, memory.firstHour + kSegments * (apart ? 2 : 1) * 300)
      << "first hour " << memory.firstHour;

  {
    const CountingNew counting;
    const Verification verification = verifyRecording(path);
    EXPECT_EQ(verification.problems.count(), 0u) << problemsOf(verification);
    EXPECT_EQ(verification.frames, kFrames);
    EXPECT_EQ(verification.audioFrames, audioUntil(kFrames));
    EXPECT_LE(counting.peakBytes(), kFragments * 400 + (16u << 20));
  }
  EXPECT_TRUE(repairRecording(path).empty());

  if (!apart) {
    BoxFile boxes(path);
    std::uint64_t fragment = 0;
    for (Mp4Box* box = boxes.root->first; box; box = box->next) {
      if (box->type != Mp4FourCc("moof")) continue;
      const auto time = [&](const char* where) {
        return Mp4PayloadOf<mp4::TrackFragmentDecodeTimeBox>(Mp4BoxGet(nullptr, box, true, "%s", where))
            ->baseMediaDecodeTime;
      };
      ASSERT_EQ(time("traf/tfdt"), fragment * kFramesPerFragment * kScale);
      ASSERT_EQ(time("traf[1]/tfdt"), audioUntil(fragment * kFramesPerFragment) * 1024);
      ++fragment;
    }
    EXPECT_EQ(fragment, kFragments);
  }

  const HostReads before = hostReads();
  const MediaFile file = openFile(path);
  ASSERT_NE(file, nullptr);
  const std::uint64_t reads = hostReads().calls - before.calls;
  EXPECT_GT(reads, 0u) << "nothing is counted";
  EXPECT_LE(reads, kFragments * (apart ? 3 : 1) * 13 / 10 + 40);
  EXPECT_EQ(file->GetTotalFrames(), kFrames);
  readFrame(*file, 0);
  std::mt19937 random(24);
  for (int i = 0; i < 100; ++i) {
    const auto frame = static_cast<std::uint32_t>(random() % kFrames);
    const HostReads sought = hostReads();
    ASSERT_EQ(readFrame(*file, frame).data, dayVideo(frame)) << frame;
    ASSERT_LE(hostReads().calls - sought.calls, 2u) << frame;
  }
}

INSTANTIATE_TEST_SUITE_P(Recording, Day, testing::Values("out.m4v", "out.ismv"), [](const auto& info) {
  return std::string(info.param) == "out.m4v" ? "SeparateAudio" : "AllInOne";
});

}  // namespace

}  // namespace fmp4
