// Which audio plays during the selected frames, and what is written of audio that cannot be read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/user_error.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tool/export/audio_range.h"
#include "tool/export/audio_skew.h"
#include "tool/export/export_streams.h"
#include "tool/export/wave_header.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

// ---- When audio and video begin ---------------------------------------------------------------------

constexpr std::uint32_t kVideoTrackId = 1, kAudioTrackId = 2;

TrackSpec audioTrackAt48000() {
  return {kAudioTrackId, "soun", 48000, audioEntry("mp4a", 2, 16, 48000, elementaryStreamBox()), 1024};
}

// Frames of 40 ms from a decode time on, shown `composition` ms later.
TrafSpec framesFrom(std::uint64_t milliseconds, std::int32_t composition = 0) {
  TrafSpec video;
  video.trackId = kVideoTrackId;
  video.decodeTime = milliseconds;
  RunSpec run{kRunDataOffset | kRunSize | kRunComposition};
  for (std::uint32_t i = 0; i < 25; ++i) run.samples.push_back(sampleOf(10, i, 0, 0, composition));
  video.runs = {run};
  return video;
}

// Access units from a decode time on, in ticks of 1/48000 s.
TrafSpec unitsFrom(std::uint64_t ticks) {
  TrafSpec audio;
  audio.trackId = kAudioTrackId;
  audio.decodeTime = ticks;
  audio.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(20, 1), sampleOf(20, 2)}}};
  return audio;
}

Bytes videoAndAudio(const TrafSpec& video, const TrafSpec& audio) {
  return join({fileTypeBox(), movieBox({videoTrack(kVideoTrackId, 1000, 40), audioTrackAt48000()}),
               fragment(1, {video, audio})});
}

double skewOf(const Bytes& bytes) {
  const TempFolder folder;
  writeFile(folder.file("clip.mp4"), bytes);
  return audioSkew(folder.file("clip.mp4"));
}

TEST(ExportAudioSkew, IsTheTimeFromTheFirstAccessUnitToTheFirstFrame) {
  EXPECT_NEAR(skewOf(videoAndAudio(framesFrom(0), unitsFrom(0))), 0, 1e-9);
  EXPECT_NEAR(skewOf(videoAndAudio(framesFrom(250), unitsFrom(0))), 0.25, 1e-9);
  EXPECT_NEAR(skewOf(videoAndAudio(framesFrom(250), unitsFrom(48000))), -0.75, 1e-9);
  EXPECT_NEAR(skewOf(videoAndAudio(framesFrom(0, 80), unitsFrom(0))), 0.08, 1e-9);
}

TEST(ExportAudioSkew, OfMoreThanAnHourIsDamage) {
  constexpr std::uint64_t kHour = 3600;
  EXPECT_NEAR(skewOf(videoAndAudio(framesFrom(0), unitsFrom(kHour * 48000))), -3600, 1e-9);
  EXPECT_EQ(skewOf(videoAndAudio(framesFrom(0), unitsFrom(kHour * 48000 + 1))), 0);
  EXPECT_EQ(skewOf(videoAndAudio(framesFrom(kHour * 1000 + 1), unitsFrom(0))), 0);
}

TEST(ExportAudioSkew, OfARecordingIsFoundInItsTwoFiles) {
  const TempFolder folder;
  writeFile(folder.file("clip.m4v"), join({fileTypeBox(), movieBox({videoTrack(kVideoTrackId, 1000, 40)}),
                                           fragment(1, {framesFrom(0)})}));
  EXPECT_EQ(audioSkew(folder.file("clip.m4v")), 0) << "whose audio is lost";
  writeFile(folder.file("clip.m4a"),
            join({fileTypeBox(), movieBox({audioTrackAt48000()}), fragment(1, {unitsFrom(4800)})}));
  EXPECT_NEAR(audioSkew(folder.file("clip.m4v")), -0.1, 1e-9);
}

// ---- The audio of selected frames -------------------------------------------------------------------

AudioRange rangeOf(const std::string& name, std::uint32_t total, std::uint32_t from,
                   std::optional<std::uint32_t> count = std::nullopt) {
  QVRSYSTEM system{};
  system.rate = 30000;
  system.scale = 1001;
  QVRAUDIO audio{};
  audio.wave.samplesPerSecond = 48000;
  audio.stream.length = total;
  FrameSelection selection;
  selection.from = FramePlace(from);
  if (count) selection.count = FramePlace(*count);
  return audioRange(selection, system, audio, name);
}

MATCHER_P3(IsAudioRange, from, count, silence, "") {
  return arg.from == std::uint64_t{from} && arg.count == std::uint64_t{count} &&
         arg.silence == std::uint64_t{silence};
}

// Frame 7 begins at PCM frame 11211.2, frame 10 at 16016.
TEST(ExportAudioRange, EndsWhereTheFrameAfterTheLastBegins) {
  EXPECT_THAT(rangeOf("none.mp4", 48000, 7, 3), IsAudioRange(11211u, 4805u, 0u));
  EXPECT_THAT(rangeOf("none.mp4", 16000, 7, 3), IsAudioRange(11211u, 4789u, 0u));
  EXPECT_THAT(rangeOf("none.mp4", 48000, 7), IsAudioRange(11211u, 36789u, 0u));
}

TEST(ExportAudioRange, OfAFrameThatBeginsWhereTheAudioEndsIsRefused) {
  EXPECT_THAT(rangeOf("none.mp4", 16017, 10), IsAudioRange(16016u, 1u, 0u));
  try {
    rangeOf("none.mp4", 16016, 10);
    FAIL();
  } catch (const UserError& error) {
    EXPECT_STREQ(error.what(), "the audio of 'none.mp4' ends before frame 10");
  }
}

TEST(ExportAudioRange, OfAudioThatBeginsLateBeginsWithSilence) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  writeFile(file, videoAndAudio(framesFrom(0), unitsFrom(4800)));
  EXPECT_THAT(rangeOf(file, 48000, 0, 10), IsAudioRange(0u, 11216u, 4800u));
  EXPECT_THAT(rangeOf(file, 48000, 0, 2), IsAudioRange(0u, 0u, 3203u));
  EXPECT_THAT(rangeOf(file, 48000, 10, 5), IsAudioRange(11216u, 8008u, 0u));
}

// ---- Audio that cannot be read ----------------------------------------------------------------------

constexpr std::uint32_t kRefused = 0xFFFFFFFE;
constexpr WaveFormat kStereo1000 = {1000, 2, 16};
const Bytes kSounding = {0x11, 0x22, 0x33, 0x44}, kSilent = zeros(4);

// Stereo at 1000 Hz, which is read in blocks of 100 PCM frames.
class AudioInMemory : public CAMediaFile {
 public:
  explicit AudioInMemory(std::uint32_t frames) : CAMediaFile(0) {
    m_audioMask = 3;
    m_system.rate = 25;
    m_system.scale = 1;
    m_audio.stream.length = frames;
    m_audio.wave.samplesPerSecond = kStereo1000.sampleRate;
    m_audio.wave.channels = kStereo1000.channels;
    m_audio.wave.bitsPerSample = kStereo1000.bitsPerSample;
  }
  // Reads of PCM frames [from, to) have this status; VL_OK: they deliver nothing all the same.
  void fail(std::uint32_t from, std::uint32_t to, std::uint32_t status) {
    failures_.push_back({from, to, status});
  }
  std::uint32_t Read(std::uint32_t frame, std::uint32_t count, std::uint32_t, std::uint32_t,
                     DFRAME* descriptor, void*) override {
    reads.push_back(frame);
    for (const Failure& failure : failures_)
      if (frame < failure.to && frame + count > failure.from) return failure.status;
    const Bytes sound = repeat(kSounding, count);
    std::copy(sound.begin(), sound.end(), descriptor->data);
    descriptor->bytes = static_cast<std::uint32_t>(sound.size());
    return VL_OK;
  }

  std::vector<std::uint32_t> reads;  // where they began

 private:
  struct Failure {
    std::uint32_t from, to, status;
  };
  std::vector<Failure> failures_;
};

struct ExportedWave {
  Bytes file;
  double seconds = 0;
  std::string said;
};

ExportedWave exportedWave(AudioInMemory& audio) {
  const TempFolder folder;
  ExportedWave wave;
  testing::internal::CaptureStderr();
  wave.seconds = exportAudio(audio, {"memory.mp4", folder.file("out.wav"), {}});
  wave.said = testing::internal::GetCapturedStderr();
  wave.file = readFile(folder.file("out.wav"));
  return wave;
}

Bytes waveOf(const Bytes& samples) {
  return join({waveHeader(kStereo1000, samples.size()), samples});
}

TEST(ExportAudio, APartThatCannotBeReadIsSilenceWhereAudioFollows) {
  // Also where the plug-in says that it read, and delivers nothing.
  for (const std::uint32_t status : {VL_FAILED, VL_OK}) {
    AudioInMemory audio(550);
    audio.fail(100, 400, status);
    const ExportedWave wave = exportedWave(audio);
    EXPECT_EQ(wave.file,
              waveOf(join({repeat(kSounding, 100), repeat(kSilent, 300), repeat(kSounding, 150)})));
    EXPECT_DOUBLE_EQ(wave.seconds, 0.55);
    EXPECT_EQ(wave.said,
              "fmp4: of the audio of 'memory.mp4' parts could not be read; silence takes their place: "
              "0:00:00.1 to 0:00:00.4\n");
  }
}

TEST(ExportAudio, EndsWhereNothingThatFollowsCanBeRead) {
  AudioInMemory audio(500);
  audio.fail(200, 500, VL_FAILED);
  const ExportedWave wave = exportedWave(audio);
  EXPECT_EQ(wave.file, waveOf(repeat(kSounding, 200)));
  EXPECT_DOUBLE_EQ(wave.seconds, 0.2);
  EXPECT_EQ(wave.said, "fmp4: the audio of 'memory.mp4' ends at 0:00:00.2, before its stated length\n");
  EXPECT_THAT(audio.reads, ElementsAre(0, 100, 200, 499));
}

// Of a part whose duration is refused it is known that audio may follow.
TEST(ExportAudio, GoesOnAfterARefusedDurationWhateverTheEnd) {
  AudioInMemory audio(500);
  audio.fail(200, 300, kRefused);
  audio.fail(400, 500, VL_FAILED);
  const ExportedWave wave = exportedWave(audio);
  EXPECT_EQ(wave.file, waveOf(join({repeat(kSounding, 200), repeat(kSilent, 100), repeat(kSounding, 100)})));
  EXPECT_EQ(wave.said,
            "fmp4: of the audio of 'memory.mp4' parts could not be read; silence takes their place: "
            "0:00:00.2 to 0:00:00.3; it ends at 0:00:00.4, before its stated length\n");
  EXPECT_THAT(audio.reads, ElementsAre(0, 100, 200, 300, 400, 499));
}

}  // namespace

}  // namespace fmp4
