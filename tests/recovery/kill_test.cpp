// A process that is killed while it records, and while it repairs.
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <set>

#include "tests/recovery/live_recording.h"
#include "tests/recovery/recovery.h"
#include "tests/support/ffmpeg.h"

namespace fmp4 {

namespace {

// Runs `work` in a process of its own that gets SIGKILL after `steps` steps. Returns whether it was killed.
template <class Work>
bool killedAfter(std::uint64_t steps, Work work) {
  const pid_t child = fork();
  if (child == 0) {
    setFaults({Fault::Kill, steps});
    work();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == 0);
  return WIFSIGNALED(status);
}

class Killed : public testing::TestWithParam<Kind> {};

TEST_P(Killed, AtFiftyMomentsKeepsWhatIsListed) {
  const Kind& kind = GetParam();
  constexpr std::uint32_t kFrames = 4 * kSegmentFrames + 7;
  const auto record = [&kind](const TempFolder& folder) {
    MediaFile file = startKind(folder, kind);
    writeAll(*file, kind, kFrames);
    closeFile(file);
  };
  std::uint64_t steps = 0;
  {
    const TempFolder folder;
    setFaults({});
    record(folder);
    steps = hostSteps();
  }
  std::mt19937 random(20160921);
  for (int i = 0; i < 50; ++i) {
    const std::uint64_t at = 1 + random() % steps;
    SCOPED_TRACE("step " + std::to_string(at));
    const TempFolder folder;
    ASSERT_TRUE(killedAfter(at, [&] { record(folder); }));
    expectListsIntact(folder);
    if (std::filesystem::file_size(folder.file(kind.media())) < 28) continue;
    expectRepairable(folder, kind);
  }
}

INSTANTIATE_TEST_SUITE_P(Recording, Killed, testing::Values(kVideoAlone, kAudioApart, kAllInOne),
                         [](const auto& info) {
                           return !info.param.hasAudio      ? "VideoOnly"
                                  : info.param.audioApart() ? "SeparateAudio"
                                                            : "AllInOne";
                         });

TEST(KilledRepair, AtAnyStepLeavesWhatTheNextOneMakesIntact) {
  std::map<std::string, Bytes> before, entire;
  {
    const TempFolder folder;
    MediaFile file = startKind(folder, kAudioApart);
    writeAll(*file, kAudioApart, kSegmentFrames + 7);
    before = filesOf(folder);
  }
  {
    const TempFolder folder;
    fill(folder, before);
    setFaults({});
    repairRecording(folder.file("out.mpd"));
    entire = filesOf(folder);
  }
  const std::uint64_t steps = hostSteps();
  for (std::uint64_t at = 1; at <= steps; ++at) {
    const TempFolder folder;
    fill(folder, before);
    ASSERT_TRUE(killedAfter(at, [&] { repairRecording(folder.file("out.mpd")); })) << at;
    repairRecording(folder.file("out.mpd"));
    ASSERT_EQ(filesOf(folder), entire) << at;
  }
}

// ---- Video and audio that a decoder accepts --------------------------------------------------------

bool decodes(const std::string& file) {
  const bool playlist = file.ends_with(".m3u8");
  const RunResult result = run(std::vector<std::string>{"ffmpeg", "-nostdin", "-xerror", "-v", "error"} +
                               (playlist ? hlsOptions() : std::vector<std::string>()) +
                               std::vector<std::string>{"-i", file, "-f", "null", "-"});
  EXPECT_EQ(result.err, "") << file;
  return result.exitCode == 0 && result.err.empty();
}

// The frames and access units of a source, to be recorded.
struct Source {
  SourceFile file;
  const SourceTrack& video;
  const SourceTrack& audio;

  explicit Source(const std::string& path)
      : file(path),
        video(*file.trackOfHandler(Mp4FourCc("vide"))),
        audio(*file.trackOfHandler(Mp4FourCc("soun"))) {}
  Bytes bytes(const SourceTrack& track, std::size_t index) {
    const auto span = file.read(track, index);
    return {span.begin(), span.end()};
  }
};

void recordSource(Source& source, const TempFolder& folder) {
  RecordingDescription d;
  const auto size = static_cast<std::uint32_t>(source.video.configuration.size());
  d.configuration = join({u32(8 + size), Bytes{'a', 'v', 'c', 'C'}, source.video.configuration});
  d.audioMask = 3;
  d.audioConfiguration = {source.audio.configuration.begin(), source.audio.configuration.begin() + 2};
  MediaFile file = startRecording(folder.file("out.mp4"), d, 5);
  std::uint32_t audioUnits = 0, i = 0;
  for (const SourceSample sample : source.video.samples) {
    for (; audioUnits < audioOf(i + 1) && audioUnits < source.audio.samples.size(); ++audioUnits)
      writeSample(*file, 3, QVR_MODE_AUDIO, source.bytes(source.audio, audioUnits), audioUnits);
    writeSample(*file, 1, QVR_MODE_VIDEO, source.bytes(source.video, i), i,
                sample.key ? DFRAME_KEY : DFRAME_NOT_KEY);
    ++i;
  }
  closeFile(file);
}

TEST(KilledRecording, OfRealMediaDecodesAsListedAndFullyOnceRepaired) {
  const TempFolder media;
  makeMedia(media.file("source.mp4"), videoInput(5, "30000/1001", "160x96") + toneInput(5) + h264Codec(5, 0) +
                                          std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  Source source(media.file("source.mp4"));
  setFaults({});
  {
    const TempFolder folder;
    recordSource(source, folder);
  }
  const std::uint64_t steps = hostSteps();
  std::mt19937 random(7);
  for (int i = 0; i < 6; ++i) {
    const std::uint64_t at = steps / 3 + random() % (steps - steps / 3);
    SCOPED_TRACE("step " + std::to_string(at));
    const TempFolder folder;
    ASSERT_TRUE(killedAfter(at, [&] { recordSource(source, folder); }));
    expectListsIntact(folder);
    // A player would wait for more of a playlist that has not ended.
    const std::string listed = textOf(folder.file("out.m3u8"));
    if (!segmentsOfPlaylist(listed).empty()) {
      const std::string ended = listed + "#EXT-X-ENDLIST\n";
      writeFile(folder.file("listed.m3u8"), {ended.begin(), ended.end()});
      EXPECT_TRUE(decodes(folder.file("listed.m3u8")));
    }
    repairRecording(folder.file("out.m4v"));
    EXPECT_EQ(verifyRecording(folder.file("out.m4v")).problems.count(), 0u);
    for (const char* name : {"out.m4v", "out.m4a", "out.m3u8", "outA.m3u8"})
      EXPECT_TRUE(decodes(folder.file(name)));
    const auto packets = ffprobePackets(folder.file("out.m4v"), "v:0");
    EXPECT_EQ(packets.size(), completeSamples(folder.file("out.m4v")));
    const auto originals = ffprobePackets(media.file("source.mp4"), "v:0");
    for (std::size_t p = 0; p < packets.size(); ++p) EXPECT_EQ(packets[p].crc32, originals[p].crc32) << p;
  }
}

// ---- Recordings of an input that is still arriving ----------------------------------------------------

// The calls of a recording at which it is killed: every eighth write, and all other calls.
struct Moment {
  HostCallKind kind;
  std::uint64_t step;  // of a write: halfway
};

std::vector<Moment> momentsOf(const Bytes& live) {
  const TempFolder folder;
  std::vector<Moment> moments;
  unsigned writes = 0;
  setFaults({});
  observeHostCalls([&](const HostCall& call) {
    const bool isWrite = call.kind == HostCallKind::Write;
    if (isWrite && writes++ % 8 != 0) return;
    moments.push_back({call.kind, hostSteps() - (isWrite ? call.bytes / 2 : 0)});
  });
  recordLive(live, folder.file("out.mp4"));
  observeHostCalls({});
  return moments;
}

TEST(KilledLiveRecording, AtEveryKindOfCallDecodesAsListedAndFullyOnceRepaired) {
  const TempFolder media;
  const std::string input = media.file("live.mp4");
  makeMedia(input, videoInput(4, "25", "160x96") + toneInput(4) + h264Codec(5, 0) +
                       std::vector<std::string>{"-c:a", "aac", "-ac", "2"} + fragmented());
  const Bytes live = readFile(input);
  const auto originals = ffprobePackets(input, "v:0");
  const std::vector<Moment> moments = momentsOf(live);
  std::set<HostCallKind> kinds;
  std::set<std::size_t> listed, repaired;
  for (const Moment& moment : moments) {
    SCOPED_TRACE("step " + std::to_string(moment.step));
    kinds.insert(moment.kind);
    const TempFolder folder;
    const std::string video = folder.file("out.m4v");
    ASSERT_TRUE(killedAfter(moment.step, [&] { recordLive(live, folder.file("out.mp4")); }));
    expectListsIntact(folder);
    const std::size_t segments = listedIn(folder)["out.m3u8"].size();
    if (segments != 0 && listed.insert(segments).second) {
      const std::string ended = textOf(folder.file("out.m3u8")) + "#EXT-X-ENDLIST\n";
      writeFile(folder.file("listed.m3u8"), {ended.begin(), ended.end()});
      EXPECT_TRUE(decodes(folder.file("listed.m3u8")));
    }
    if (!hasMovie(video)) {
      EXPECT_THROW(repairRecording(video), UserError);
      continue;
    }
    repairRecording(video);
    const Verification verification = verifyRecording(video);
    EXPECT_EQ(verification.problems.count(), 0u) << problemsOf(verification);
    const std::size_t frames = verification.frames;
    if (frames == 0 || !repaired.insert(frames).second) continue;
    EXPECT_TRUE(decodes(video));
    const auto packets = ffprobePackets(video, "v:0");
    ASSERT_EQ(packets.size(), frames);
    for (std::size_t p = 0; p < frames; ++p) EXPECT_EQ(packets[p].crc32, originals[p].crc32) << p;
  }
  EXPECT_EQ(kinds, (std::set{HostCallKind::Write, HostCallKind::Flush, HostCallKind::FlushNew,
                             HostCallKind::FlushName, HostCallKind::Replace, HostCallKind::FlushStream}));
  EXPECT_EQ(listed, (std::set<std::size_t>{1, 2}));
  EXPECT_GE(repaired.size(), 10u);
}

// A recording that was ended, truncated within its last two fragments.
TEST(TruncatedRecording, OfRealMediaDecodesOnceRepaired) {
  const TempFolder media;
  makeMedia(media.file("source.mp4"), videoInput(4, "30000/1001", "160x96") + toneInput(4) + h264Codec(5, 0) +
                                          std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  Source source(media.file("source.mp4"));
  const TempFolder original;
  recordSource(source, original);
  const auto files = filesOf(original);
  BoxFile boxes(original.file("out.m4v"));
  std::uint64_t from = 0;
  for (const Mp4Box* box = boxes.root->first; box; box = box->next) {
    const Mp4Box* const second = box->next && box->next->next ? box->next->next->next : nullptr;
    if (box->type == Mp4FourCc("moof") && second == boxes.root->last) from = box->position;
  }
  ASSERT_NE(from, 0u);
  std::mt19937 random(11);
  for (int i = 0; i < 6; ++i) {
    const std::uint64_t size = from + random() % (boxes.root->size - from);
    SCOPED_TRACE("size " + std::to_string(size));
    const TempFolder folder;
    fill(folder, files);
    std::filesystem::resize_file(folder.file("out.m4v"), size);
    repairRecording(folder.file("out.m3u8"));
    EXPECT_EQ(verifyRecording(folder.file("out.m3u8")).problems.count(), 0u);
    for (const char* name : {"out.m4v", "out.m3u8"}) EXPECT_TRUE(decodes(folder.file(name)));
    EXPECT_EQ(ffprobePackets(folder.file("out.m4v"), "v:0").size(), completeSamples(folder.file("out.m4v")));
  }
}

}  // namespace

}  // namespace fmp4
