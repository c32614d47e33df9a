// Packaging a fragmented MP4 as it arrives on standard input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <span>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/sync.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

// `fmp4 package -` with a pipe to its standard input.
class Recorder {
 public:
  explicit Recorder(const std::string& output, const TempFolder& folder) : errors_(folder.file("errors")) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) {
      dup2(ends[0], STDIN_FILENO);
      close(ends[0]);
      close(ends[1]);
      if (!freopen(errors_.c_str(), "w", stderr)) _exit(126);
      execl(VL_BIN_DIR "/fmp4", "fmp4", "--quiet", "package", "-", "--force", "--output", output.c_str(),
            nullptr);
      _exit(127);
    }
    close(ends[0]);
    input_ = ends[1];
    std::signal(SIGPIPE, SIG_IGN);
  }
  ~Recorder() {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      end();
    }
  }

  bool feed(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(input_, bytes.data(), bytes.size());
      if (count <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }
  void signal(int number) { kill(child_, number); }
  // Closes the input and waits. Returns the exit code, 128 + N for signal N.
  int end() {
    if (input_ >= 0) close(input_);
    input_ = -1;
    return wait();
  }
  // Waits with the input left open.
  int wait() {
    int status = 0;
    wait4(child_, &status, 0, &usage_);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  std::string errors() const {
    const Bytes bytes = readFile(errors_);
    return {bytes.begin(), bytes.end()};
  }
  long peakKilobytes() const { return usage_.ru_maxrss; }

 private:
  std::string errors_;
  pid_t child_ = -1;
  int input_ = -1;
  rusage usage_ = {};
};

std::string contentOf(const std::string& path) {
  const Bytes bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

// Video and audio at a high bit rate.
std::vector<std::string> noise(int seconds) {
  const std::string length = std::to_string(seconds);
  return {
      "-f",       "lavfi",   "-i",      "nullsrc=s=160x96:r=25:d=" + length + ",geq=random(1)*255:128:128",
      "-f",       "lavfi",   "-i",      "sine=d=" + length,
      "-c:v",     "libx264", "-preset", "ultrafast",
      "-g",       "25",      "-qp",     "20",
      "-pix_fmt", "yuv420p", "-c:a",    "aac"};
}

class LiveInput : public testing::Test {
 protected:
  LiveInput() {
    makeMedia(folder_.file("source.mp4"), flashAndToneInputs(8, {"0.4", "4", "7.6"}) + h264Codec(25, 2) +
                                              std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    makeMedia(folder_.file("live.mp4"), "-i", folder_.file("source.mp4"), "-c", "copy", "-movflags",
              "frag_keyframe+empty_moov+default_base_moof");
    live_ = readFile(folder_.file("live.mp4"));
  }
  // Where the fragments of the input begin.
  std::vector<std::size_t> fragments() const {
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; at + 8 <= live_.size();) {
      const std::size_t size = std::size_t{live_[at]} << 24 | std::size_t{live_[at + 1]} << 16 |
                               std::size_t{live_[at + 2]} << 8 | live_[at + 3];
      if (std::equal(&live_[at + 4], &live_[at + 8], "moof")) starts.push_back(at);
      at += size;
    }
    return starts;
  }
  std::string output() const { return folder_.file("out.mp4"); }
  std::size_t recordedFrames() { return ffprobePackets(folder_.file("out.m4v"), "v:0").size(); }
  void expectIntact() {
    const RunResult result = fmp4({"--quiet", "verify", folder_.file("out.mpd")});
    EXPECT_EQ(result.exitCode, 0) << result.out;
    for (const char* name : {"out.m3u8", "outA.m3u8"})
      EXPECT_TRUE(contentOf(folder_.file(name)).ends_with("#EXT-X-ENDLIST\n")) << name;
    EXPECT_THAT(contentOf(folder_.file("out.master.m3u8")), HasSubstr("out.m3u8"));
  }

  TempFolder folder_;
  Bytes live_;
};

TEST_F(LiveInput, MakesTheSameRecordingAsTheFile) {
  Recorder recorder(output(), folder_);
  ASSERT_TRUE(recorder.feed(live_));
  ASSERT_EQ(recorder.end(), 0) << recorder.errors();
  EXPECT_EQ(recorder.errors(), "");
  expectIntact();
  ASSERT_EQ(
      fmp4({"--quiet", "package", folder_.file("live.mp4"), "--output", folder_.file("file.mp4")}).exitCode,
      0);
  EXPECT_EQ(readFile(folder_.file("out.m4v")), readFile(folder_.file("file.m4v")));
  EXPECT_EQ(readFile(folder_.file("out.m4a")), readFile(folder_.file("file.m4a")));
  const auto flashes = flashTimes(folder_.file("out.m4v")), tones = toneTimes(folder_.file("out.m4a"));
  ASSERT_EQ(flashes.size(), 3u);
  ASSERT_EQ(tones.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(tones[i], flashes[i], 512.0 / 48000 + 0.0015);
}

// Complete parts of a recorded file are there before the input ends.
TEST_F(LiveInput, RecordsFragmentsAsTheyComplete) {
  makeMedia(folder_.file("short.mp4"),
            videoInput(2, "25", "160x96") + h264Codec(2, 0) +
                std::vector<std::string>{"-movflags", "frag_keyframe+empty_moov+default_base_moof"});
  live_ = readFile(folder_.file("short.mp4"));
  const auto starts = fragments();
  ASSERT_EQ(starts.size(), 25u);
  Recorder recorder(output(), folder_);
  // 10 fragments of 2 frames are a segment. What is listed is on the disk while the input is still open.
  ASSERT_TRUE(recorder.feed(std::span(live_).first(starts[21])));
  for (int i = 0;
       i < 600 && contentOf(folder_.file("out.m3u8")).find("#EXTINF:0.800,\n", 240) == std::string::npos; ++i)
    usleep(100'000);
  const std::string listed = contentOf(folder_.file("out.m3u8"));
  EXPECT_EQ(std::string::npos, listed.find("#EXT-X-ENDLIST"));
  std::size_t segments = 0;
  for (std::size_t at = 0; (at = listed.find("#EXTINF:0.800,\n", at)) != std::string::npos; ++at) ++segments;
  EXPECT_EQ(segments, 2u);
  ASSERT_TRUE(recorder.feed(std::span(live_).subspan(starts[21])));
  EXPECT_EQ(recorder.end(), 0) << recorder.errors();
  EXPECT_EQ(recordedFrames(), 50u);
}

TEST_F(LiveInput, SignalsLeaveAnIntactRecording) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Recorder recorder(output(), folder_);
    // In the middle of the last fragment; the previous one has been read when the movie file shows it.
    ASSERT_TRUE(recorder.feed(std::span(live_).first(fragments().back() + 100)));
    for (int i = 0; i < 600 && (!std::filesystem::exists(folder_.file("out.m4v")) ||
                                std::filesystem::file_size(folder_.file("out.m4v")) < 1000);
         ++i)
      usleep(100'000);
    recorder.signal(signal);
    EXPECT_EQ(recorder.wait(), 0) << recorder.errors();
    expectIntact();
    EXPECT_EQ(recordedFrames() % 25, 0u);
    EXPECT_GE(recordedFrames(), 50u);
    for (const char* name : {"out.m4v", "out.m4a", "out.mpd", "out.m3u8", "outA.m3u8", "out.master.m3u8"})
      std::filesystem::remove(folder_.file(name));
  }
}

TEST_F(LiveInput, TruncatedInputIsRecordedUpToItsEnd) {
  Recorder recorder(output(), folder_);
  ASSERT_TRUE(recorder.feed(std::span(live_).first(fragments().back() + 500)));
  EXPECT_EQ(recorder.end(), 1);
  EXPECT_THAT(recorder.errors(), HasSubstr("fmp4: the input is damaged: it ends inside a box, after"));
  expectIntact();
  EXPECT_EQ(recordedFrames(), 25 * (fragments().size() - 1));
}

TEST_F(LiveInput, DamagedInputIsRecordedUpToTheDamage) {
  const auto starts = fragments();
  for (const std::uint8_t size : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{7}, std::uint8_t{255}}) {
    Bytes bytes = live_;
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(starts[5]), 4, size);
    Recorder recorder(output(), folder_);
    recorder.feed(bytes);
    EXPECT_EQ(recorder.end(), 1) << int{size};
    EXPECT_THAT(recorder.errors(), HasSubstr("fmp4: the input is damaged: "));
    expectIntact();
    EXPECT_EQ(recordedFrames(), 125u);
  }
}

TEST_F(LiveInput, RefusesInputThatIsNotFragmentedMp4) {
  const auto refusal = [&](const Bytes& input) {
    Recorder recorder(output(), folder_);
    recorder.feed(input);
    EXPECT_EQ(recorder.end(), 1);
    return recorder.errors();
  };
  EXPECT_THAT(refusal({}), HasSubstr("the input ends before its movie box"));
  EXPECT_THAT(refusal(Bytes(5000, 'x')), HasSubstr("fmp4: the input is damaged"));
  EXPECT_THAT(refusal(readFile(folder_.file("source.mp4"))),
              HasSubstr("cannot be read as it arrives; ffmpeg -movflags"));
  makeMedia(folder_.file("fast.mp4"), "-i", folder_.file("source.mp4"), "-c", "copy", "-movflags",
            "faststart");
  EXPECT_THAT(refusal(readFile(folder_.file("fast.mp4"))), HasSubstr("the input is a plain MP4"));
  EXPECT_THAT(refusal({live_.begin(), live_.begin() + static_cast<std::ptrdiff_t>(fragments().front())}),
              HasSubstr("has no video"));
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.m4v")));
}

// Audio-only fragments without end.
TEST_F(LiveInput, DoesNotWaitForeverForVideo) {
  makeMedia(
      folder_.file("audio.mp4"),
      toneInput(60) + std::vector<std::string>{"-c:a", "aac", "-frag_duration", "1000000"} + fragmented());
  const Bytes header(live_.begin(), live_.begin() + static_cast<std::ptrdiff_t>(fragments().front()));
  live_ = readFile(folder_.file("audio.mp4"));
  const auto first = static_cast<std::ptrdiff_t>(fragments().front());
  const Bytes audioHeader(live_.begin(), live_.begin() + first);
  Bytes audio(live_.begin() + first, live_.end());
  const auto fedBeforeTheEnd = [&](const Bytes& beginning) {
    constexpr std::size_t kMax = 100u << 20;
    Recorder recorder(output(), folder_);
    std::size_t fed = 0;
    if (recorder.feed(beginning))
      while (fed < kMax && recorder.feed(audio)) fed += audio.size();
    EXPECT_EQ(recorder.end(), 1);
    EXPECT_THAT(recorder.errors(), HasSubstr("has no video"));
    return fed;
  };
  EXPECT_LT(fedBeforeTheEnd(audioHeader), 4u << 20) << "no video track";
  const Bytes tfhd = {'t', 'f', 'h', 'd'};
  for (auto at = audio.begin(); (at = std::search(at, audio.end(), tfhd.begin(), tfhd.end())) != audio.end();
       at += 12)
    at[11] = 2;
  EXPECT_LT(fedBeforeTheEnd(header), 80u << 20) << "a video track that stays empty";
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.m4v")));
}

TEST_F(LiveInput, ContradictoryFragmentsAreDamage) {
  const auto starts = fragments();
  const auto part = [&](std::size_t from, std::size_t to) {
    return Bytes(live_.begin() + static_cast<std::ptrdiff_t>(from),
                 live_.begin() + static_cast<std::ptrdiff_t>(to));
  };
  const auto expectDamage = [&](const Bytes& after, const std::string& why) {
    Recorder recorder(output(), folder_);
    recorder.feed(join({part(0, starts[5]), after}));
    EXPECT_EQ(recorder.end(), 1);
    EXPECT_THAT(recorder.errors(), HasSubstr("fmp4: the input is damaged: " + why));
    expectIntact();
    EXPECT_EQ(recordedFrames(), 125u);
  };
  const std::size_t moofSize = std::size_t{live_[starts[5] + 2]} << 8 | live_[starts[5] + 3];
  expectDamage(join({part(starts[5], starts[5] + moofSize), part(starts[5], starts[6])}),
               "a fragment has no media data");
  expectDamage(boxOfSize(0, "mdat"), "the box 'mdat' has no size but lasts until the end of the input");
  // Empty samples: a few bytes of boxes can state any number of them.
  for (const std::uint32_t count : {70'000u, 5'000'000u}) {
    const Bytes traf =
        box("traf", {fullBox("tfhd", 0, 0x20010, {u32(2), u32(0)}), fullBox("trun", 0, 0, {u32(count)})});
    expectDamage(join({box("moof", {traf, box("free", {zeros(6u << 20)})}), box("mdat")}),
                 "a fragment claims too many samples");
  }
}

TEST_F(LiveInput, RecordsTheRequestedNumberOfFrames) {
  const std::string command = "'" VL_BIN_DIR "/fmp4' --quiet package - --count 60 --output '" + output() +
                              "' <'" + folder_.file("live.mp4") + "'";
  EXPECT_EQ(run({"sh", "-c", command}).exitCode, 0);
  EXPECT_EQ(recordedFrames(), 60u);
  expectIntact();
}

TEST_F(LiveInput, MemoryDoesNotGrowWithTheInput) {
  // Noise, the second time ten times as long.
  makeMedia(folder_.file("noise.mp4"), noise(4));
  long peaks[2] = {};
  std::uintmax_t sizes[2] = {};
  for (int i = 0; i < 2; ++i) {
    const std::string input = folder_.file("long.mp4");
    makeMedia(input, "-stream_loop", i == 0 ? "4" : "49", "-i", folder_.file("noise.mp4"), "-c", "copy",
              "-movflags", "frag_keyframe+empty_moov+default_base_moof");
    // In pieces: the peak memory of a new process includes that of the process that started it.
    std::ifstream file(input, std::ios::binary);
    Recorder recorder(output(), folder_);
    for (Bytes piece(65536); file; sizes[i] += static_cast<std::uintmax_t>(file.gcount())) {
      file.read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
      ASSERT_TRUE(recorder.feed(std::span(piece).first(static_cast<std::size_t>(file.gcount()))));
    }
    ASSERT_EQ(recorder.end(), 0) << recorder.errors();
    peaks[i] = recorder.peakKilobytes();
  }
  const auto more = static_cast<long>((sizes[1] - sizes[0]) / 1024);
  EXPECT_GT(more, 20'000);
  EXPECT_LT(peaks[1] - peaks[0], more / 10) << peaks[0] << ' ' << peaks[1];
}

}  // namespace

}  // namespace fmp4
