// Hours of recording in fast motion, with sound and captions, while two readers scrub the file and a player
// follows its playlist. FMP4_SOAK_HOURS gives the hours; scripts/soak.sh runs a week.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <thread>

#include "mp4box/boxes/sidx.h"
#include "recording/check/verify.h"
#include "tests/faults/open_descriptors.h"
#include "tests/plugin/recording.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kRate = 25, kHourOfFrames = 3600 * kRate;

std::uint32_t soakHours() {
  const char* const hours = std::getenv("FMP4_SOAK_HOURS");
  return hours ? static_cast<std::uint32_t>(std::atoi(hours)) : 1;
}

// Every frame and every pair of captions is its number.
Bytes soakFrame(std::uint32_t frame) {
  return join({u32(frame), u32(~frame), Bytes(frame % 16)});
}
std::array<std::uint8_t, 2> soakPair(std::uint32_t frame) {
  return {static_cast<std::uint8_t>(frame), static_cast<std::uint8_t>(frame >> 8)};
}
Bytes soakUnit(std::uint64_t unit) {
  return join({u32(static_cast<std::uint32_t>(unit)), Bytes(3)});
}
// Access units that play until the end of so many frames.
std::uint64_t soakUnitsUntil(std::uint64_t frames) {
  return frames * 48000 / (kRate * 1024);
}

bool isRight(CAMediaFile& file, std::uint32_t frame) {
  const VideoFrame read = readFrame(file, frame);
  const DFRAME& d = read.descriptor;
  const auto pair = soakPair(frame);
  return read.status == VL_OK && read.data == soakFrame(frame) &&
         (d.captionFlags & DFRAME_CAPTION_608) != 0 && std::equal(pair.begin(), pair.end(), d.captions);
}

// The resident memory of this process, in bytes.
std::uint64_t residentBytes() {
  std::ifstream status("/proc/self/statm");
  std::uint64_t pages = 0;
  status >> pages >> pages;
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

// A process of its own that does `work` again and again, until it is ended or `work` returns false.
class Companion {
 public:
  explicit Companion(const std::function<bool()>& work) : process_(fork()) {
    if (process_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (work()) {
    }
    _exit(1);
  }
  // Ends it. Returns whether all was right until now.
  bool endWell() const {
    kill(process_, SIGTERM);
    int status = 0;
    waitpid(process_, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM;
  }

 private:
  pid_t process_;
};

// Opens the file as far as it has come and reads frames anywhere in it.
bool scrub(const std::string& path, std::mt19937& random) {
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const MediaFile file = openFile(path);
  if (!file) return true;  // nothing is complete yet
  const std::uint32_t frames = file->GetTotalFrames();
  for (int i = 0; i < 50 && frames != 0; ++i) {
    if (!isRight(*file, static_cast<std::uint32_t>(random() % frames))) return false;
  }
  return true;
}

// Reads each segment that the playlist names, once it does.
class Player {
 public:
  explicit Player(const TempFolder& folder)
      : playlist_(folder.file("out.m3u8")), media_(folder.file("out.ismv")) {}

  bool follow() {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::ifstream list(playlist_);
    list.seekg(read_);
    for (std::string line; std::getline(list, line) && !list.eof(); read_ = list.tellg()) {
      unsigned long long size = 0, start = 0;
      if (std::sscanf(line.c_str(), "#EXT-X-BYTERANGE:%llu@%llu", &size, &start) == 2 &&
          !isSegment(start, size))
        return false;
    }
    return true;
  }

 private:
  bool isSegment(std::uint64_t start, std::uint64_t size) const {
    std::ifstream media(media_, std::ios::binary);
    Bytes bytes(size);
    media.seekg(static_cast<std::streamoff>(start));
    if (!media.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) return false;
    Mp4MemoryStream stream(bytes.data(), size);
    const FileTree tree(stream, true);
    return tree->first && Mp4PayloadOf<mp4::SegmentIndexBox>(tree->first) != nullptr &&
           tree->last->type == Mp4FourCc("mdat") && tree->last->end() == size;
  }

  std::string playlist_, media_;
  std::streamoff read_ = 0;
};

void writeSoakFrame(CAMediaFile& file, std::uint32_t frame, std::uint64_t& units) {
  for (; units < soakUnitsUntil(frame + std::uint64_t{1}); ++units)
    ASSERT_EQ(writeSample(file, 3, QVR_MODE_AUDIO, soakUnit(units), static_cast<std::uint32_t>(units)),
              VL_OK);
  DFRAME d{};
  Bytes bytes = soakFrame(frame);
  d.size = sizeof d;
  d.data = bytes.data();
  d.bytes = static_cast<std::uint32_t>(bytes.size());
  d.flags = frame % kRate == 0 ? DFRAME_KEY : DFRAME_NOT_KEY;
  const auto pair = soakPair(frame);
  d.captionFlags = DFRAME_CAPTION_608;
  d.captionBytes = 2;
  std::copy(pair.begin(), pair.end(), d.captions);
  ASSERT_EQ(file.Write(frame, 1, 1, QVR_MODE_VIDEO, &d, nullptr), VL_OK) << frame;
}

TEST(Soak, RecordsHoursInConstantMemoryWhileOthersReadThem) {
  const LogCapture log;
  const std::uint32_t hours = soakHours(), frames = hours * kHourOfFrames;
  const TempFolder folder;
  const std::string path = folder.file("out.ismv");
  const std::size_t descriptors = openDescriptors();
  std::mt19937 random(20);
  std::vector<Companion> companions;
  for (int i = 0; i < 2; ++i)
    companions.emplace_back(
        [&, own = std::mt19937(static_cast<unsigned>(i))]() mutable { return scrub(path, own); });
  companions.emplace_back([player = Player(folder)]() mutable { return player.follow(); });

  RecordingDescription d;
  d.rate = kRate;
  d.scale = 1;
  d.audioMask = 3;
  d.captions = QVR_CAPTIONS_608;
  MediaFile file = startRecording(path, d, kRate);
  ASSERT_NE(file, nullptr);
  std::uint64_t units = 0, firstHour = 0;
  for (std::uint32_t hour = 0; hour < hours && !HasFatalFailure(); ++hour) {
    for (std::uint32_t i = 0; i < kHourOfFrames && !HasFatalFailure(); ++i)
      writeSoakFrame(*file, hour * kHourOfFrames + i, units);
    if (hour == 0) firstHour = residentBytes();
    std::printf("hour %u: %.1f s of processor time, %llu KiB resident, %zu descriptors\n", hour + 1,
                static_cast<double>(std::clock()) / CLOCKS_PER_SEC,
                static_cast<unsigned long long>(residentBytes() / 1024), openDescriptors());
    std::fflush(stdout);
  }
  EXPECT_EQ(closeFile(file), VL_OK);
  // Only the text of the manifest grows: of one segment every ten seconds, with its copy while it is saved.
  EXPECT_LE(residentBytes(), firstHour + std::uint64_t{hours} * 360 * 1024 + (8u << 20));
  file.reset();
  for (Companion& companion : companions) EXPECT_TRUE(companion.endWell());
  EXPECT_EQ(openDescriptors(), descriptors);

  const Verification verification = verifyRecording(path);
  EXPECT_EQ(verification.problems.count(), 0u);
  EXPECT_EQ(verification.frames, frames);
  EXPECT_EQ(verification.audioFrames, units);
  const MediaFile whole = openFile(path);
  ASSERT_NE(whole, nullptr);
  for (int i = 0; i < 1000; ++i) {
    const auto frame = static_cast<std::uint32_t>(random() % frames);
    ASSERT_TRUE(isRight(*whole, frame)) << frame;
  }
  ASSERT_TRUE(isRight(*whole, frames - 1));
}

}  // namespace

}  // namespace fmp4
