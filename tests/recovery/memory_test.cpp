// Allocations that fail at any point of probing, opening, describing, reading, seeking, recording and
// closing: nothing crashes, no exception reaches the host, and what was listed plays.
#include "mp4box/boxes/tfhd.h"
#include "mp4box/movie.h"
#include "recording/track_number.h"
#include "tests/recovery/recovery.h"
#include "tests/support/controlled_new.h"
#include "tests/support/ffmpeg.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

// One allocation fails, or one and all after it.
class MemoryEnds : public testing::TestWithParam<Failures> {
 protected:
  MemoryEnds() {
    vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  }
  ~MemoryEnds() override { vlSetLogSink(nullptr, nullptr); }

  // Calls `use(n)`, in which allocation fails after n successful ones, for every n until none fails. `use`
  // returns whether one failed. Returns the number of allocations.
  template <class Use>
  static std::size_t sweep(Use use) {
    std::size_t before = 0;
    while (use(before) && !testing::Test::HasFailure()) ++before;
    return before;
  }

  // Does `work` with `before` allocations. Returns whether it needed more; an exception out of it fails the
  // test.
  template <class Work>
  static bool withMemory(std::size_t before, Work work) {
    bool crossed = false, met = false;
    {
      const FailingNewAt failing(before, GetParam());
      try {
        work();
      } catch (...) {
        crossed = true;
      }
      met = failing.met();
    }
    EXPECT_FALSE(crossed) << "an exception after " << before << " allocations";
    return met;
  }
};

// ---- Reading ----------------------------------------------------------------------------------------

// A buffer and descriptions such as a host has ready.
struct Host {
  std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(1 << 20);
  std::unique_ptr<QVRVIDEO> video = std::make_unique<QVRVIDEO>();
  QVRSYSTEM system{};
  QVRAUDIO audio{};
  QVRINFO info{};
  std::unique_ptr<DFRAME> request = std::make_unique<DFRAME>();

  std::uint32_t read(CAMediaFile& file, std::uint32_t position, std::uint32_t count, std::uint32_t mode) {
    *request = {};
    request->size = sizeof(DFRAME);
    request->data = buffer.data();
    request->dataCapacity = static_cast<std::uint32_t>(buffer.size());
    return file.Read(position, count, 1, mode, request.get(), nullptr);
  }
};

// Everything that a host does with a source.
void useSource(Host& host, const std::string& path) {
  if (plugin().check(path.c_str(), 0x40000000u, nullptr) != 0) return;
  MFXOPEN request = readRequest(path);
  CAMediaFile* const file = objectOf(plugin().media(nullptr, 1, &request));
  if (!file) return;
  file->GetFileInfo(1, &host.system, host.video.get(), &host.audio, &host.info);
  for (const std::uint32_t frame : {0u, 1u, 20u, 3u}) host.read(*file, frame, 1, QVR_MODE_VIDEO);
  for (const std::uint32_t sample : {0u, 20000u, 5000u}) host.read(*file, sample, 1000, QVR_MODE_AUDIO);
  file->FindKeyFrame(1, 1, 17, 1);
  file->FindKeyFrame(1, 1, 17, 0);
  file->SetFileInfo(1, &host.system, host.video.get(), &host.audio, &host.info);
  MFXCLOSE close{};
  plugin().media(file, 2, &close);
}

TEST_P(MemoryEnds, WhereverASourceIsRead) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mp4"), videoInput(1) + toneInput(1) + h264Codec(15) + fragmented() +
                                         std::vector<std::string>{"-c:a", "aac"});
  {
    MediaFile file = startKind(folder, kAudioApart);
    ASSERT_TRUE(writeAll(*file, kAudioApart, kSegmentFrames + 7));
    file = startKind(folder, kAllInOne);
    ASSERT_TRUE(writeAll(*file, kAllInOne, kSegmentFrames + 7));
  }
  Host host;
  for (const char* name : {"clip.mp4", "out.mpd", "out.xml"}) {
    const std::string path = folder.file(name);
    const std::size_t allocations =
        sweep([&](std::size_t before) { return withMemory(before, [&] { useSource(host, path); }); });
    EXPECT_GT(allocations, 100u) << name;
    const MediaFile file = openFile(path);
    ASSERT_NE(file, nullptr) << "opens with enough memory";
    EXPECT_EQ(host.read(*file, 20, 1, QVR_MODE_VIDEO), VL_OK) << name;
  }
}

// A file may be refused for lack of memory. The probe that accepts it keeps it open.
TEST_P(MemoryEnds, WhereverAFileIsProbed) {
  const TempFolder folder;
  MediaFile file = startKind(folder, kAllInOne);
  ASSERT_TRUE(writeAll(*file, kAllInOne, kSegmentFrames));
  EXPECT_EQ(closeFile(file), VL_OK);
  for (const char* name : {"out.ismv", "out.xml"}) {
    std::filesystem::copy_file(folder.file(name), folder.file(std::string("probed.") + (name + 4)));
  }
  std::filesystem::rename(folder.file("probed.ismv"), folder.file("probed.mp4"));
  for (const char* name : {"probed.mp4", "probed.xml"}) {
    const std::string path = folder.file(name);
    std::int64_t answer = 0;
    const std::size_t allocations = sweep([&](std::size_t before) {
      return withMemory(before, [&] { answer = plugin().check(path.c_str(), 0, nullptr); });
    });
    EXPECT_GT(allocations, 3u) << name;
    EXPECT_EQ(answer, 0) << "accepted with enough memory";
  }
}

// ---- Recording --------------------------------------------------------------------------------------

constexpr std::uint32_t kFrames = kSegmentFrames + 7;

// The samples to be recorded, ready to be written.
struct Material {
  std::vector<Bytes> frames, audioUnits;
  Host host;

  explicit Material(const Kind& kind) {
    for (std::uint32_t i = 0; i < kFrames; ++i) frames.push_back(videoBytes(i));
    for (std::uint32_t i = 0; kind.hasAudio && i < audioOf(kFrames); ++i) audioUnits.push_back(audio(i));
    const Described defaults = describe(*createObject());
    *host.video = *defaults.video;
    host.audio = defaults.audio;
    host.info = defaults.info;
    const Bytes configuration = avcBox();
    std::copy(configuration.begin(), configuration.end(), host.video->colourTable);
    host.video->bitmap.width = 320;
    host.video->bitmap.height = 180;
    host.audio.codec = Mp4FourCc("mp4a");
    host.audio.wave.channels = 2;
    host.info.captions = kind.captions;
  }
};

// Video frames in a file, counted here: a fragment at the end may hold audio only.
std::uint32_t framesIn(const std::string& path) {
  BoxFile file(path);
  std::uint32_t frames = 0;
  for (Mp4Box* box = file.root->first; box; box = box->next) {
    const auto get = [box](const char* where) { return Mp4BoxGet(nullptr, box, true, "%s", where); };
    const auto* tfhd = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(get("traf/tfhd"));
    if (tfhd && tfhd->trackId == trackNumber(mp4::TrackKind::Video))
      frames += Mp4PayloadOf<mp4::TrackRunBox>(get("traf/trun"))->sampleCount;
  }
  return frames;
}

struct Recorded {
  std::uint32_t frames = 0;  // accepted
  bool closed = false;       // without an error
};

Recorded record(const std::string& path, const Kind& kind, Material& material) {
  Recorded recorded;
  MFXOPEN request = writeRequest(path);
  CAMediaFile* const file = objectOf(plugin().media(nullptr, 1, &request));
  if (!file) return recorded;
  file->SetCodecOption(1, 0, 8, kInterval, nullptr);
  file->SetFileInfo(1, nullptr, material.host.video.get(), nullptr, &material.host.info);
  if (kind.hasAudio) file->SetFileInfo(3, nullptr, nullptr, &material.host.audio, nullptr);
  std::uint32_t audioUnits = 0;
  for (std::uint32_t i = 0; i < kFrames; ++i) {
    for (; kind.hasAudio && audioUnits < audioOf(i + 1); ++audioUnits)
      writeSample(*file, 3, QVR_MODE_AUDIO, material.audioUnits[audioUnits], audioUnits);
    const auto flags = i % kInterval == 0 ? DFRAME_KEY : DFRAME_NOT_KEY;
    if (writeSample(*file, 1, QVR_MODE_VIDEO, material.frames[i], i, flags) == VL_OK) ++recorded.frames;
  }
  MFXCLOSE close{};
  recorded.closed = file->MFXCmd(MFX_CLOSE, &close) == VL_OK;
  plugin().media(file, 2, &close);
  return recorded;
}

TEST_P(MemoryEnds, WhereverARecordingIsMade) {
  for (const Kind& kind : {kVideoAlone, kAudioApart, kAllInOne}) {
    Material material(kind);
    const std::size_t allocations = sweep([&](std::size_t before) {
      const TempFolder folder;
      const std::string path = folder.file(kind.name);
      Recorded recorded;
      const bool ended = withMemory(before, [&] { recorded = record(path, kind, material); });
      SCOPED_TRACE(std::to_string(before) + " allocations of " + kind.name);
      expectListsIntact(folder);
      // All frames that were accepted are there.
      if (recorded.closed && recorded.frames != 0) {
        EXPECT_EQ(framesIn(folder.file(kind.media())), recorded.frames);
      }
      return ended;
    });
    EXPECT_GT(allocations, 100u) << kind.name;
  }
}

INSTANTIATE_TEST_SUITE_P(AnAllocation, MemoryEnds, testing::Values(Failures::One, Failures::AllFromThere),
                         [](const auto& info) { return info.param == Failures::One ? "Once" : "ForGood"; });

}  // namespace

}  // namespace fmp4
