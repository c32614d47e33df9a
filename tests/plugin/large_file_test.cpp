// Recordings beyond 4 GiB, whose offsets take more than 32 bits: video, audio and captions in one file,
// compared with a small recording of the same. As the file grows, what has been written is turned into holes,
// so that it takes little disk space.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "mp4box/boxes/tfdt.h"
#include "tests/audio/streams.h"
#include "tests/plugin/audio.h"
#include "tests/plugin/recording.h"
#include "tests/support/places.h"
#include "tests/support/run.h"

namespace fmp4 {

namespace {

using testing::Each;
using testing::HasSubstr;
using testing::Not;

constexpr std::uint32_t kLargeFrames = 70;
constexpr std::uint32_t kFrameBytes = 64u << 20;
constexpr std::uint64_t k4GiB = std::uint64_t{1} << 32;
constexpr std::uint32_t kMonoSampleRate = 16000;

void punchHole(const std::string& path, std::uint64_t start, std::uint64_t end) {
  runOrThrow({"fallocate", "--punch-hole", "--offset", std::to_string(start), "--length",
              std::to_string(end - start), path});
}

// "frame N" and zeros.
void mark(Bytes& frame, std::uint32_t number) {
  const std::string text = "frame " + std::to_string(number) + ".";
  std::copy(text.begin(), text.end(), frame.begin());
}

std::string markOf(const Bytes& frame) {
  return {frame.begin(), std::find(frame.begin(), frame.end(), '.')};
}

// The access units of a mono AAC-LC stream, without their ADTS headers.
std::vector<Bytes> codedAudio() {
  constexpr std::ptrdiff_t kHeader = 7;
  std::vector<Bytes> frames = SplitAdts(readFile(VL_TEST_DATA "/lc_mono_16k.aac"));
  for (Bytes& frame : frames) frame.erase(frame.begin(), frame.begin() + kHeader);
  return frames;
}

void record(const std::string& path, std::uint32_t frameSize, const std::function<void()>& afterFrame) {
  RecordingDescription d;
  d.audioMask = 1;
  d.channels = 1;
  d.sampleRate = kMonoSampleRate;
  d.audioConfiguration = {0x14, 0x08};
  d.captions = QVR_CAPTIONS_608;
  MediaFile file = startRecording(path, d, 2);
  const std::vector<Bytes> coded = codedAudio();
  Bytes bytes(frameSize);
  std::uint32_t audioUnits = 0;
  for (std::uint32_t i = 0; i < kLargeFrames; ++i) {
    // The audio that plays until the end of the frame.
    for (; audioUnits < (i + 1) * kMonoSampleRate / 30 / 1024; ++audioUnits)
      ASSERT_EQ(writeSample(*file, 1, QVR_MODE_AUDIO, coded.at(audioUnits), audioUnits), VL_OK);
    mark(bytes, i);
    DFRAME frame{};
    frame.size = sizeof frame;
    frame.data = bytes.data();
    frame.bytes = frameSize;
    frame.flags = i % 2 == 0 ? DFRAME_KEY : DFRAME_NOT_KEY;
    frame.captionFlags = DFRAME_CAPTION_608;
    frame.captions[0] = static_cast<std::uint8_t>(i);
    frame.captionBytes = 2;
    ASSERT_EQ(file->Write(i, 1, 1, QVR_MODE_VIDEO, &frame, nullptr), VL_OK);
    afterFrame();
  }
  EXPECT_EQ(closeFile(file), VL_OK);
}

TEST(LargeFile, IsRecordedListedAndReadBeyond4GiB) {
  const TempFolder folder;
  const std::string path = folder.file("large.ismv"), smallPath = folder.file("small.ismv");
  record(smallPath, 20, [] {});
  std::uint64_t written = 0;
  record(path, kFrameBytes, [&] {
    // All becomes holes except the first frames, and the boxes, marks and ends of the others.
    const std::uint64_t size = std::filesystem::file_size(path);
    if (size <= written + kFrameBytes + (1u << 20)) return;
    punchHole(path, size - 2 * std::uint64_t{kFrameBytes} + 4096, size - kFrameBytes - 4096);
    punchHole(path, size - kFrameBytes + 4096, size - 4096);
    written = size;
  });
  const std::uint64_t size = std::filesystem::file_size(path);
  ASSERT_GT(size, k4GiB + 3 * std::uint64_t{kFrameBytes});

  // The last of four segments ends beyond 4 GiB.
  const std::string last = std::to_string(size - 1) + "\"";
  EXPECT_THAT(textOf(folder.file("large.xml")), HasSubstr("-" + last));
  BoxFile boxes(path);
  const Mp4Box* moof = boxes.at("moof[34]");
  ASSERT_NE(moof, nullptr);
  EXPECT_GT(moof->position, k4GiB);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[34]/traf/tfdt")->baseMediaDecodeTime,
            68u * 1001);

  const MediaFile small = openFile(smallPath);
  const std::uint32_t samples = lengthOf(*small);
  for (const std::string& name : {path, folder.file("large.xml")}) {
    const MediaFile read = openFile(name);
    ASSERT_NE(read, nullptr) << name;
    EXPECT_EQ(read->GetTotalFrames(), kLargeFrames);
    for (const std::uint32_t i : {69u, 0u, 67u}) {
      const VideoFrame frame = readFrame(*read, i);
      EXPECT_EQ(markOf(frame.data), "frame " + std::to_string(i));
      EXPECT_EQ(frame.descriptor.captions[0], i);
    }
    EXPECT_EQ(read->FindKeyFrame(1, 1, 69, 0), 68u);
    EXPECT_EQ(read->FindKeyFrame(1, 1, 67, 1), 68u);
    EXPECT_EQ(lengthOf(*read), samples);
    for (const std::uint32_t position : {samples - 1200, 5000u, samples - 900}) {
      const Samples audio = readAudio(*read, position, 900).samples;
      EXPECT_THAT(audio, Not(Each(0))) << position;
      EXPECT_EQ(audio, readAudio(*small, position, 900).samples) << position;
    }
  }
}

}  // namespace

}  // namespace fmp4
