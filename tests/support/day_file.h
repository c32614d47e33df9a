// Long recordings without their media: every box is present, the media data are holes in a sparse file.
#pragma once

#include <filesystem>
#include <fstream>

#include "tests/support/fragments.h"

namespace fmp4 {

struct DayFile {
  std::uint32_t fragments = 86400;        // of one second
  std::uint32_t fragmentsPerSegment = 0;  // above 0: a segment index before each so many fragments
  static constexpr std::uint32_t kVideoSamples = 30;
  static constexpr std::uint32_t kAudioSamples = 47;
  static constexpr std::uint32_t kVideoBytes = 20000;  // of the smallest sample
  static constexpr std::uint32_t kAudioBytes = 340;

  std::uint64_t moofBytes = 0;  // of all "moof" boxes, known once written

  void write(const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary);
    const auto put = [&file](const Bytes& bytes) {
      file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    };
    TrackSpec video = videoTrack(1, 30, 1);
    TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
    put(join({fileTypeBox(), movieBox({video, audio})}));
    const Bytes moof = fragmentHead(1);
    const std::uint32_t mdat = 8 + mediaBytes();
    const auto fragmentBytes = static_cast<std::uint32_t>(moof.size()) + mdat;
    for (std::uint32_t i = 0; i < fragments; ++i) {
      if (fragmentsPerSegment && i % fragmentsPerSegment == 0) {
        const std::uint32_t listed = std::min(fragmentsPerSegment, fragments - i);
        std::vector<ReferenceSpec> references(listed, {fragmentBytes, 0, 30});
        references.resize(fragmentsPerSegment);
        put(sidxBox(references));
      }
      put(fragmentHead(i + 1));
      put(boxOfSize(mdat, "mdat"));
      file.seekp(mediaBytes(), std::ios::cur);
      moofBytes += moof.size();
    }
    const auto end = file.tellp();
    file.close();
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(end));
  }

 private:
  static std::uint32_t videoSize(std::uint32_t sample) { return kVideoBytes + sample * 10; }
  static std::uint32_t mediaBytes() {
    std::uint32_t bytes = kAudioSamples * kAudioBytes;
    for (std::uint32_t i = 0; i < kVideoSamples; ++i) bytes += videoSize(i);
    return bytes;
  }

  // The "moof" alone: what `fragment` builds, with sizes stated instead of data included.
  static Bytes fragmentHead(std::uint32_t sequence) {
    const auto build = [sequence](std::uint32_t videoStart, std::uint32_t audioStart) {
      Bytes videoSamples, audioSamples;
      for (std::uint32_t i = 0; i < kVideoSamples; ++i) {
        videoSamples = join({videoSamples, u32(videoSize(i)), u32(i ? kNonSyncSample : 0), u32(i % 3)});
      }
      for (std::uint32_t i = 0; i < kAudioSamples; ++i) audioSamples = join({audioSamples, u32(kAudioBytes)});
      const auto traf = [sequence](std::uint32_t track, std::uint32_t ticks, const Bytes& run) {
        return box("traf", {fullBox("tfhd", 0, kBaseIsMoof, {u32(track)}),
                            fullBox("tfdt", 1, 0, {u64(std::uint64_t{sequence - 1} * ticks)}), run});
      };
      return box("moof", {fullBox("mfhd", 0, 0, {u32(sequence)}),
                          traf(1, kVideoSamples,
                               fullBox("trun", 0, kRunDataOffset | kRunSize | kRunFlags | kRunComposition,
                                       {u32(kVideoSamples), u32(videoStart), videoSamples})),
                          traf(2, kAudioSamples * 1024,
                               fullBox("trun", 0, kRunDataOffset | kRunSize,
                                       {u32(kAudioSamples), u32(audioStart), audioSamples}))});
    };
    static const auto size = static_cast<std::uint32_t>(build(0, 0).size());
    return build(size + 8, size + 8 + mediaBytes() - kAudioSamples * kAudioBytes);
  }
};

}  // namespace fmp4
