#include "tool/check/decode_check.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/box_header.h"
#include "tool/check/access_unit_defect.h"
#include "tool/host/codec_configuration.h"
#include "tool/host/video_reader.h"

namespace fmp4 {

namespace {

// Faults that are reported of a stream; what is damaged throughout has one for every frame.
constexpr std::size_t kMaxFaults = 1000;

// Bytes of the lengths in an "avcC" box, after its header (ISO/IEC 14496-15, 5.3.3.1.2).
unsigned lengthBytesOf(const QVRVIDEO& video) {
  constexpr std::size_t kPlace = kBoxHeaderBytes + 4;
  const auto box = codecConfiguration(video);
  return box.size() > kPlace ? (box[kPlace] & 3u) + 1 : 4;
}

class VideoCheck {
 public:
  VideoCheck(CAMediaFile& file, const std::string& name)
      : reader_(file, name), frames_(file.GetTotalFrames()) {
    const auto video = std::make_unique<QVRVIDEO>();
    QVRSYSTEM system{};
    file.GetFileInfo(kVideoChannel, &system, video.get(), nullptr, nullptr);
    lengthBytes_ = lengthBytesOf(*video);
    frameSeconds_ = system.rate == 0 ? 0 : static_cast<double>(system.scale) / system.rate;
  }

  std::uint32_t frames() const { return frames_; }
  // What is wrong with a frame; empty when nothing is.
  std::string defect(std::uint32_t frame) {
    try {
      reader_.read(frame);
    } catch (const UserError&) {
      return placeOf(frame) + "it cannot be read";
    }
    const std::string defect = accessUnitDefect(reader_.sample(), lengthBytes_);
    return defect.empty() ? defect : placeOf(frame) + defect;
  }

 private:
  std::string placeOf(std::uint32_t frame) const {
    return "frame " + std::to_string(frame) + " (" + clockText(frame * frameSeconds_) + ") is damaged: ";
  }

  VideoReader reader_;
  std::uint32_t frames_;
  unsigned lengthBytes_ = 4;
  double frameSeconds_ = 0;
};

class AudioCheck {
 public:
  explicit AudioCheck(CAMediaFile& file) : file_(file) {
    QVRAUDIO audio{};
    file.GetFileInfo(kFirstPair, nullptr, nullptr, &audio, nullptr);
    rate_ = audio.wave.samplesPerSecond;
    total_ = file.Channels() == 0 || rate_ == 0 ? 0 : audio.stream.length;
    blockFrames_ = std::max(1u, rate_ / kBlocksASecond);
    block_.resize(std::size_t{blockFrames_} * audio.wave.channels * ((audio.wave.bitsPerSample + 7u) / 8));
  }

  std::uint64_t blocks() const { return (total_ + blockFrames_ - 1) / blockFrames_; }
  // Decodes a block. Returns the access units of it that are lost; all of it counts as one if none comes.
  std::uint32_t lostIn(std::uint64_t block) {
    const std::uint64_t from = block * blockFrames_;
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(blockFrames_, total_ - from));
    descriptor_ = {};
    descriptor_.size = sizeof descriptor_;
    descriptor_.data = block_.data();
    descriptor_.dataCapacity = static_cast<std::uint32_t>(block_.size());
    const std::uint32_t status = file_.Read(static_cast<std::uint32_t>(from), count, kFirstPair,
                                            QVR_MODE_AUDIO, &descriptor_, nullptr);
    return status == VL_OK ? descriptor_.lostUnits : std::max(descriptor_.lostUnits, 1u);
  }
  // A place of damage: blocks [from, to).
  std::string placeText(std::uint64_t from, std::uint64_t to, std::uint32_t lost) const {
    const auto at = [this](std::uint64_t block) {
      return clockText(static_cast<double>(std::min(block * blockFrames_, total_)) / rate_);
    };
    return "the audio from " + at(from) + " to " + at(to) + " is damaged: " + std::to_string(lost) +
           (lost == 1 ? " access unit" : " access units") + " cannot be decoded";
  }

 private:
  CAMediaFile& file_;
  std::uint32_t rate_ = 0;   // Hz
  std::uint64_t total_ = 0;  // PCM frames
  std::uint32_t blockFrames_ = 1;
  std::vector<std::uint8_t> block_;
  DFRAME descriptor_ = {};
};

void checkAudio(AudioCheck& check, const std::string& file, const std::function<void(std::uint64_t)>& show,
                std::vector<DecodeFault>& faults) {
  std::uint64_t begin = 0;
  std::uint32_t lost = 0;
  const std::uint64_t blocks = check.blocks();
  for (std::uint64_t block = 0; block <= blocks; ++block) {
    const std::uint32_t here = block < blocks ? check.lostIn(block) : 0;
    if (here == 0 && lost != 0 && faults.size() < kMaxFaults)
      faults.push_back({file, check.placeText(begin, block, lost)});
    if (lost == 0) begin = block;
    lost = here == 0 ? 0 : lost + here;
    show(block);
  }
}

}  // namespace

std::vector<DecodeFault> decodeFaults(const Plugin& plugin, const std::string& video,
                                      const std::string& audio, const DecodeProgress& progress) {
  std::vector<DecodeFault> faults;
  const MediaFile file = plugin.open(video.empty() ? audio : video);
  AudioCheck audioCheck(*file);
  std::uint64_t done = 0;
  std::optional<VideoCheck> videoCheck;
  if (!video.empty()) videoCheck.emplace(*file, video);
  const std::uint64_t frames = videoCheck ? videoCheck->frames() : 0, total = frames + audioCheck.blocks();
  for (std::uint32_t frame = 0; frame < frames; ++frame) {
    if (std::string defect = videoCheck->defect(frame); !defect.empty() && faults.size() < kMaxFaults)
      faults.push_back({video, std::move(defect)});
    progress(++done, total);
  }
  checkAudio(
      audioCheck, audio.empty() ? video : audio,
      [&](std::uint64_t block) { progress(frames + block, total); }, faults);
  return faults;
}

}  // namespace fmp4
