// Any bytes as the source of a recording: as a file, and as live input that arrives in pieces. Its frames are
// planned, timed by its edit lists and read as packaging does it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <vector>

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "tool/package/paced_times.h"
#include "tool/package/package_plan.h"
#include "tool/source/counted_tracks.h"
#include "tool/source/fragment_stream.h"
#include "tool/source/source_captions.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

constexpr std::size_t kMaxSamples = 4096;  // of one track that are looked at

std::uint64_t sum = 0;  // of what is read, so that the reads are not optimised away

// Every sample held by a source: its time and its bytes.
void readHeld(SampleSource& source) {
  for (SourceTrack& track : source.tracks()) {
    double last = 0;
    for (std::size_t i = track.next; i < std::min(track.samples.size(), track.next + kMaxSamples); ++i) {
      const SourceSample sample = track.samples[i];
      last = std::max(last, track.present(sample));
      track.edits.hides(sample.presentationTime(), sample.presentationTime() + sample.duration);
      for (const std::uint8_t byte : source.read(track, i)) sum += byte;
    }
    if (!(last <= std::numeric_limits<double>::max())) std::abort();
  }
}

// Goes through the frames as packaging does, with the captions shown during them.
void goThrough(SampleSource& source) {
  SourceTrack* const found = source.trackOfHandler(mp4::kVideoHandler);
  if (!found || found->samples.empty()) return;
  SourceTrack& video = *found;
  PackageOptions options;
  PackagePlan plan = planPackage(video, options, [](const std::string&) {});
  PacedTimes times(video, plan);
  SourceCaptions cc608(source, source.trackOfCodec(kC608));
  SourceCaptions cc708(source, source.trackOfCodec(kC708));
  video.wanted = true;
  video.next = plan.first;
  std::int64_t frame = 0;
  const auto frameOf = [&](double seconds) {
    const double time = times.recorded(seconds).value_or(times.end());
    return static_cast<std::int64_t>(std::clamp(time / times.frameSeconds(), -1e15, 1e15));
  };
  DFRAME descriptor = {};
  do {
    readHeld(source);
    for (; video.next < video.samples.size(); ++video.next, ++frame) {
      if (frame >= static_cast<std::int64_t>(kMaxSamples)) return;
      times.add(video.samples[video.next]);
      plan.compositionOffset(video.samples[video.next]);
      descriptor.captionBytes = 0;
      cc608.addTo(descriptor, frame, frameOf);
      cc708.addTo(descriptor, frame, frameOf);
      if (descriptor.captionBytes > sizeof descriptor.captions) std::abort();
    }
  } while (source.more());
}

// All of it is there.
class BytesAsFile : public SampleSource {
 public:
  explicit BytesAsFile(std::span<const std::uint8_t> bytes) : bytes_(bytes.begin(), bytes.end()) {
    Mp4MemoryStream stream(bytes_.data(), bytes_.size());
    tracks_ = readTracks(stream);
  }

  const std::string& path() const override { return path_; }
  std::vector<SourceTrack>& tracks() override { return tracks_; }
  bool more() override { return false; }
  std::span<std::uint8_t> read(const SourceTrack& track, std::size_t index) override {
    const SourceSample sample = track.samples[index];
    if (sample.offset > bytes_.size() || sample.size > bytes_.size() - sample.offset)
      throw UserError("outside");
    return std::span(bytes_).subspan(sample.offset, sample.size);
  }

 private:
  std::string path_ = "file";
  std::vector<std::uint8_t> bytes_;
  std::vector<SourceTrack> tracks_;
};

void readAsFile(std::span<const std::uint8_t> bytes) try {
  BytesAsFile file(bytes);
  goThrough(file);
} catch (const UserError&) {
}

// Describing a file adds its samples up without a list of them: in a pass of its own, or from pieces that
// another reads, of a size that the last byte sets.
std::vector<std::uint64_t> countAsFile(std::span<const std::uint8_t> bytes, bool inPassing) try {
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  const auto file = Mp4ReadRoot(stream, false);
  if (!file) return {};
  const std::size_t piece = bytes.empty() ? 1 : 16 * std::size_t{bytes.back()} + 1;
  std::vector<std::uint64_t> sums;
  const auto addUp = [&sums](const std::vector<CountedTrack>& tracks) {
    for (const CountedTrack& counted : tracks)
      sums.insert(sums.end(), {counted.samples, counted.bytes, counted.ticks});
  };
  if (!inPassing) {
    addUp(countTracks(*file));
    return sums;
  }
  TrackCounter counter(*file);
  for (std::size_t at = 0; at < bytes.size(); at += piece)
    counter.take(at, bytes.subspan(at, std::min(piece + 16, bytes.size() - at)));
  addUp(counter.count());
  return sums;
} catch (const UserError&) {
  return {};
}

// The last byte sets the size of the arriving pieces, and whether the end is requested.
void readAsItArrives(std::span<const std::uint8_t> bytes) try {
  const std::uint8_t choice = bytes.empty() ? 0 : bytes.back();
  const auto arrive = [&bytes, choice](std::span<std::uint8_t> piece) {
    const std::size_t count = std::min({piece.size(), bytes.size(), 16 * std::size_t{choice} + 1});
    if (count != 0) std::memcpy(piece.data(), bytes.data(), count);
    bytes = bytes.subspan(count);
    return count;
  };
  FragmentStream stream("live input", {arrive, [choice] { return choice % 2 != 0; }});
  for (int i = 0; i < choice % 4 && stream.readFragment(); ++i) {
  }
  goThrough(stream);
} catch (const UserError&) {
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  readAsFile({data, size});
  if (countAsFile({data, size}, false) != countAsFile({data, size}, true)) std::abort();
  readAsItArrives({data, size});
  return 0;
}

}  // namespace fmp4
