// One call of the host, or one allocation, that fails anywhere between opening a source and reading its
// frames, sound and captions: each answer is a failure or right, and later ones are right.
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "plugin/status.h"
#include "tests/faults/failing_calls.h"
#include "tests/faults/open_descriptors.h"
#include "tests/recovery/recovery.h"
#include "tests/support/ffmpeg.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

// What a host asks for, in this order: neighbours, jumps and returns.
struct Request {
  std::uint32_t mode = QVR_MODE_VIDEO;
  std::uint32_t position = 0;
};
constexpr Request kRequests[] = {{QVR_MODE_VIDEO, 0},  {QVR_MODE_VIDEO, 1},     {QVR_MODE_AUDIO, 0},
                                 {QVR_MODE_VIDEO, 20}, {QVR_MODE_AUDIO, 20000}, {QVR_MODE_AUDIO, 21000},
                                 {QVR_MODE_VIDEO, 3},  {QVR_MODE_AUDIO, 5000},  {QVR_MODE_AUDIO, 40000},
                                 {QVR_MODE_VIDEO, 25}, {QVR_MODE_AUDIO, 6000},  {QVR_MODE_VIDEO, 26},
                                 {QVR_MODE_VIDEO, 2}};
constexpr std::size_t kCount = std::size(kRequests);
constexpr std::uint32_t kSamples = 1000;  // of each request for audio
constexpr std::size_t kSpace = 64 << 10;

struct Answer {
  std::uint32_t status = VL_FAILED;
  std::uint32_t captionFlags = 0;
  std::vector<std::uint8_t> captions;
  std::vector<std::uint8_t> data;
};

// A host with all its memory ready, so that no allocation of its own is counted.
class Host {
 public:
  // Opens the source and asks for everything. Returns whether it opened.
  bool openAndRead(const std::string& path) {
    close();
    MFXOPEN request = readRequest(path);
    file_ = objectOf(plugin().media(nullptr, 1, &request));
    if (!file_) return false;
    described_ = file_->GetFileInfo(1, &system_, video_.get(), &audio_, &info_) == VL_OK;
    readAll();
    return true;
  }
  // Asks for everything again.
  void readAll() {
    for (std::size_t i = 0; i < kCount; ++i) ask(kRequests[i], replies_[i]);
  }
  void close() {
    if (!file_) return;
    MFXCLOSE request{};
    plugin().media(file_, 2, &request);
    file_ = nullptr;
  }
  ~Host() { close(); }

  std::vector<Answer> answers() const {
    std::vector<Answer> all;
    for (const Reply& reply : replies_) {
      Answer answer;
      answer.status = reply.status;
      const DFRAME& d = *reply.descriptor;
      if (answer.status == VL_OK) {
        answer.captionFlags = d.captionFlags & DFRAME_CAPTION_MASK;
        answer.captions.assign(d.captions, d.captions + (answer.captionFlags != 0 ? d.captionBytes : 0));
        answer.data.assign(reply.data.begin(), reply.data.begin() + d.bytes);
      }
      all.push_back(std::move(answer));
    }
    return all;
  }
  std::uint32_t frames() const { return video_->stream.length; }
  std::uint32_t samples() const { return audio_.stream.length; }
  bool described() const { return described_; }

 private:
  struct Reply {
    std::unique_ptr<DFRAME> descriptor = std::make_unique<DFRAME>();
    std::vector<std::uint8_t> data = std::vector<std::uint8_t>(kSpace);
    std::uint32_t status = VL_FAILED;
  };

  void ask(const Request& request, Reply& reply) {
    DFRAME& d = *reply.descriptor;
    d = {};
    d.size = sizeof d;
    d.data = reply.data.data();
    d.dataCapacity = kSpace;
    const std::uint32_t count = request.mode == QVR_MODE_AUDIO ? kSamples : 1;
    reply.status = file_->Read(request.position, count, 1, request.mode, &d, nullptr);
  }

  CAMediaFile* file_ = nullptr;
  bool described_ = false;
  QVRSYSTEM system_{};
  std::unique_ptr<QVRVIDEO> video_ = std::make_unique<QVRVIDEO>();
  QVRAUDIO audio_{};
  QVRINFO info_{};
  std::array<Reply, kCount> replies_{};
};

// Each answer is right or a failure. Returns how many failed.
std::size_t expectRightOrFailed(const std::vector<Answer>& answers, const std::vector<Answer>& right) {
  std::size_t failed = 0;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    if (answers[i].status != VL_OK) {
      ++failed;
      continue;
    }
    EXPECT_TRUE(answers[i].data == right[i].data) << "data of request " << i;
    EXPECT_EQ(answers[i].captionFlags, right[i].captionFlags) << "captions of request " << i;
    EXPECT_EQ(answers[i].captions, right[i].captions) << "captions of request " << i;
  }
  return failed;
}

// Without its companion a file has no sound, which each request says.
void expectRight(const std::vector<Answer>& answers, const std::vector<Answer>& right) {
  for (std::size_t i = 0; i < answers.size(); ++i) {
    if (answers[i].status == FMP4_E_NO_AUDIO && kRequests[i].mode == QVR_MODE_AUDIO) continue;
    EXPECT_EQ(answers[i].status, right[i].status) << "request " << i;
  }
  expectRightOrFailed(answers, right);
}

// The sources: what ffmpeg makes, also at a rate where SBR may hide, and recordings with captions and with
// their sound apart.
class ReadFaults : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    // Keeping lines would allocate.
    vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
    path_ = folder_.file(GetParam());
    const bool isLow = GetParam() == std::string("low.mp4"),
               isClip = GetParam() == std::string("clip.mp4") || isLow;
    if (isClip) {
      makeMedia(path_, videoInput(1, "30000/1001", "160x96") + toneInput(1) + h264Codec(15) + fragmented() +
                           std::vector<std::string>{"-c:a", "aac", "-ar", isLow ? "24000" : "48000"});
    } else {
      const Kind& kind = GetParam() == kAllInOne.media() ? kAllInOne : kAudioApart;
      MediaFile file = startKind(folder_, kind);
      ASSERT_TRUE(writeAll(*file, kind, kSegmentFrames + 7));
      ASSERT_EQ(closeFile(file), VL_OK);
    }
    ASSERT_TRUE(host_.openAndRead(path_));
    right_ = host_.answers();
    frames_ = host_.frames();
    samples_ = host_.samples();
    host_.close();
    if (isClip) {
      ASSERT_EQ(right_[4].status, VL_OK) << "sound is read";
    }
    ASSERT_EQ(right_.back().status, VL_OK);
    if (GetParam() == kAllInOne.media()) {
      ASSERT_EQ(right_.back().captionFlags, std::uint32_t{DFRAME_CAPTION_608}) << "captions are read";
    }
  }

  void TearDown() override { vlSetLogSink(nullptr, nullptr); }

  // A fault is alive while the source is opened and read. Returns whether it happened.
  template <class Fault>
  bool survives(Fault makeFault) {
    const std::size_t descriptors = openDescriptors();
    bool opened = false, met = false;
    {
      const auto fault = makeFault();
      try {
        opened = host_.openAndRead(path_);
      } catch (...) {
        ADD_FAILURE() << "an exception reached the host";
      }
      met = fault.met();
    }
    if (opened) {
      EXPECT_TRUE(host_.described());
      const std::size_t failed = expectRightOrFailed(host_.answers(), right_);
      if (failed == 0 && host_.samples() == samples_) {
        EXPECT_EQ(host_.frames(), frames_);
      }
      host_.readAll();
      expectRight(host_.answers(), right_);
    }
    host_.close();
    EXPECT_EQ(openDescriptors(), descriptors);
    return met;
  }

  TempFolder folder_;
  std::string path_;
  Host host_;
  std::vector<Answer> right_;
  std::uint32_t frames_ = 0, samples_ = 0;
};

TEST_P(ReadFaults, OfAnyCallGiveAFailureOrTheRightAnswer) {
  for (const CallKind kind : {CallKind::Open, CallKind::Read, CallKind::Seek, CallKind::Size}) {
    for (const Failures failures : {Failures::One, Failures::AllFromThere}) {
      for (std::uint64_t n = 1; !HasFailure(); ++n) {
        SCOPED_TRACE("call " + std::to_string(n) + " of kind " + std::to_string(static_cast<int>(kind)));
        if (!survives([&] { return FailingCall(kind, n, failures); })) break;
      }
    }
  }
}

#if defined(_WIN32)
// Without any memory the run time library of the cross compiler cannot throw: what it keeps for exceptions is
// behind a mutex that takes memory when it is first locked.
constexpr Failures kOfAllocations[] = {Failures::One};
#else
constexpr Failures kOfAllocations[] = {Failures::One, Failures::AllFromThere};
#endif

TEST_P(ReadFaults, OfAnyAllocationGiveAFailureOrTheRightAnswer) {
  for (const Failures failures : kOfAllocations) {
    std::size_t before = 0;
    while (!HasFailure()) {
      SCOPED_TRACE("after " + std::to_string(before) + " allocations");
      if (!survives([&] { return FailingNewAt(before, failures); })) break;
      ++before;
    }
    EXPECT_GT(before, 100u);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, ReadFaults, testing::Values("clip.mp4", "low.mp4", "out.ismv", "out.mpd"),
                         [](const auto& info) {
                           const std::string name = info.param;
                           return name == "clip.mp4"   ? "Clip"
                                  : name == "low.mp4"  ? "LowRate"
                                  : name == "out.ismv" ? "AllInOne"
                                                       : "SoundApart";
                         });

}  // namespace

}  // namespace fmp4
