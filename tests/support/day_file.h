// Long recordings without their media: every box is present, the media data are holes in a sparse file.
#pragma once

#include <filesystem>
#include <fstream>

#include "tests/support/fragments.h"

namespace fmp4 {

struct DayFile {
  std::uint32_t fragments = 86400;        // of one second
  std::uint32_t fragmentsPerSegment = 0;  // above 0: a segment index before each so many fragments
  bool hasVideo = true;
  bool hasAudio = true;
  // Without media the samples have no bytes and fragments follow each other: such a file is written quickly,
  // whereas each hole costs a block of the disk.
  bool hasMedia = true;
  static constexpr std::uint32_t kVideoSamples = 30;
  static constexpr std::uint32_t kAudioSamples = 47;
  static constexpr std::uint32_t kVideoBytes = 20000;  // of the smallest sample
  static constexpr std::uint32_t kAudioBytes = 340;

  // Places in the file.
  struct Segment {
    std::uint64_t start = 0;
    std::uint64_t indexEnd = 0;
    std::uint64_t end = 0;
  };

  // Known once written.
  std::uint64_t moofBytes = 0;    // of all "moof" boxes
  std::uint64_t headerBytes = 0;  // before the first fragment or segment
  std::vector<Segment> segments{};

  void write(const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary);
    const auto put = [&file](const Bytes& bytes) {
      file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    };
    const Bytes header = join({fileTypeBox(), movieBox(tracks())});
    put(header);
    headerBytes = header.size();
    Bytes moof = fragmentHead();
    const std::uint32_t mdat = 8 + mediaBytes();
    const Bytes mdatHeader = boxOfSize(mdat, "mdat");
    const auto fragmentBytes = static_cast<std::uint32_t>(moof.size()) + mdat;
    std::uint64_t place = headerBytes;
    for (std::uint32_t i = 0; i < fragments; ++i) {
      if (fragmentsPerSegment && i % fragmentsPerSegment == 0) {
        const std::uint32_t listed = std::min(fragmentsPerSegment, fragments - i);
        std::vector<ReferenceSpec> references(listed, {fragmentBytes, 0, 30});
        references.resize(fragmentsPerSegment);
        const Bytes index = sidxBox(references);
        put(index);
        const std::uint64_t indexEnd = place + index.size();
        segments.push_back({place, indexEnd, indexEnd + std::uint64_t{listed} * fragmentBytes});
        place = segments.back().end;
      }
      renumber(moof, i);
      put(moof);
      put(mdatHeader);
      if (hasMedia) file.seekp(mediaBytes(), std::ios::cur);
      moofBytes += moof.size();
    }
    const auto end = file.tellp();
    file.close();
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(end));
  }

 private:
  static constexpr std::uint32_t kVideoTrack = 1, kAudioTrack = 2;

  [[nodiscard]] std::vector<TrackSpec> tracks() const {
    std::vector<TrackSpec> tracks;
    if (hasVideo) tracks.push_back(videoTrack(kVideoTrack, 30, 1));
    if (hasAudio) tracks.push_back({kAudioTrack, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024});
    return tracks;
  }

  [[nodiscard]] std::uint32_t videoSize(std::uint32_t sample) const {
    return hasMedia ? kVideoBytes + sample * 10 : 0;
  }
  [[nodiscard]] std::uint32_t audioSize() const { return hasMedia ? kAudioBytes : 0; }
  [[nodiscard]] std::uint32_t videoBytes() const {
    std::uint32_t bytes = 0;
    for (std::uint32_t i = 0; hasVideo && i < kVideoSamples; ++i) bytes += videoSize(i);
    return bytes;
  }
  [[nodiscard]] std::uint32_t mediaBytes() const {
    return videoBytes() + (hasAudio ? kAudioSamples * audioSize() : 0);
  }

  // The "moof" alone: what `fragment` builds, with sizes stated instead of data included. Numbers and times
  // are those of the first.
  [[nodiscard]] Bytes fragmentHead() const {
    const auto build = [this](std::uint32_t videoStart, std::uint32_t audioStart) {
      Bytes videoSamples, audioSamples;
      for (std::uint32_t i = 0; i < kVideoSamples; ++i) {
        videoSamples = join({videoSamples, u32(videoSize(i)), u32(i ? kNonSyncSample : 0), u32(i % 3)});
      }
      for (std::uint32_t i = 0; i < kAudioSamples; ++i) audioSamples = join({audioSamples, u32(audioSize())});
      const auto traf = [](std::uint32_t track, const Bytes& run) {
        return box("traf",
                   {fullBox("tfhd", 0, kBaseIsMoof, {u32(track)}), fullBox("tfdt", 1, 0, {u64(0)}), run});
      };
      const Bytes video =
          traf(kVideoTrack, fullBox("trun", 0, kRunDataOffset | kRunSize | kRunFlags | kRunComposition,
                                    {u32(kVideoSamples), u32(videoStart), videoSamples}));
      const Bytes audio = traf(kAudioTrack, fullBox("trun", 0, kRunDataOffset | kRunSize,
                                                    {u32(kAudioSamples), u32(audioStart), audioSamples}));
      return box("moof",
                 {fullBox("mfhd", 0, 0, {u32(1)}), hasVideo ? video : Bytes(), hasAudio ? audio : Bytes()});
    };
    const auto size = static_cast<std::uint32_t>(build(0, 0).size());
    return build(size + 8, size + 8 + videoBytes());
  }

  // Gives a "moof" its number and times: those of the fragment `index`, from 0.
  void renumber(Bytes& moof, std::uint32_t index) const {
    std::size_t at = 8 + 12;  // after the headers of "moof" and "mfhd"
    const auto put = [&moof, &at](const Bytes& bytes) {
      std::copy(bytes.begin(), bytes.end(), moof.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(u32(std::uint64_t{index} + 1));
    at += 4;
    for (const bool video : {true, false}) {
      if (!(video ? hasVideo : hasAudio)) continue;
      const std::size_t traf = at;
      at += 8 + 16 + 12;  // the headers of "traf" and "tfdt", and "tfhd" between them
      put(u64(std::uint64_t{index} * (video ? kVideoSamples : kAudioSamples * 1024)));
      at = traf + (std::size_t{moof[traf + 2]} << 8 | moof[traf + 3]);
    }
  }
};

}  // namespace fmp4
