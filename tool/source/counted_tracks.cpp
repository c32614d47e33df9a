#include "tool/source/counted_tracks.h"

#include "base/exact_time.h"
#include "base/user_error.h"
#include "mp4box/box_type.h"
#include "streaming/index/fragment_bytes.h"
#include "streaming/index/fragment_walk.h"
#include "streaming/index/track_defaults.h"
#include "streaming/index/track_fragment.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

// Adds up the samples of each track, fragment by fragment.
class SampleSums {
 public:
  struct Sum {
    std::uint64_t samples = 0;
    std::uint64_t bytes = 0;
    std::uint64_t ticks = 0;
  };

  // Starts with the samples of the movie box.
  SampleSums(Mp4Box* moov, const std::vector<SourceTrack>& tracks) {
    const TrackDefaults defaults = readTrackDefaults(moov);
    for (const SourceTrack& track : tracks) {
      Sum sum;
      for (const SourceSample sample : track.samples) addSample(sum, sample);
      sums_.push_back(sum);
      keys_.push_back({track.trackId, defaultsOfTrack(defaults, track.trackId)});
    }
  }

  // False, with nothing added, for a fragment that is not laid out regularly.
  [[nodiscard]] bool addBytes(std::span<const std::uint8_t> moof) {
    before_ = sums_;
    const bool regular = FragmentWalk(*this).walk(moof);
    if (!regular) sums_.swap(before_);
    return regular;
  }
  void addTree(Mp4Box* moof) {
    for (Mp4Box* traf = moof->first; traf; traf = traf->next) {
      if (traf->type != box_type::kTraf) continue;
      const auto* header = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(Mp4BoxChild(traf, box_type::kTfhd));
      if (!header) continue;
      add(*header, [traf](const auto& each) {
        for (const Mp4Box* child = traf->first; child; child = child->next)
          if (const auto* run = trackRun(child)) each(*run);
      });
    }
  }

  // By the number of the track.
  const std::vector<Sum>& sums() const { return sums_; }

  // What FragmentWalk calls.
  void header(std::span<const std::uint8_t>) {}
  void track(const TrackFragmentBytes& fragment) {
    add(fragment.header, [&fragment](const auto& each) { fragment.forEachRun(each); });
  }

 private:
  struct Key {
    std::uint32_t trackId;
    const mp4::TrackExtendsBox* trex;
  };

  static void addSample(Sum& sum, const SourceSample& sample) {
    ++sum.samples;
    sum.bytes += sample.size;
    sum.ticks += sample.duration;
  }

  // Adds the runs that `forEachRun(each)` passes to `each` to the first track of the header's ID.
  template <class ForEachRun>
  void add(const mp4::TrackFragmentHeaderBox& header, ForEachRun forEachRun) {
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (keys_[i].trackId != header.trackId) continue;
      const SampleDefaults defaults(&header, keys_[i].trex);
      forEachRun([&sum = sums_[i], &defaults](const auto& run) {
        sum.samples += run.sampleCount;
        sum.bytes = addSaturated(sum.bytes, sizeOfSamples(run, run.sampleCount, defaults));
        sum.ticks = addSaturated(sum.ticks, durationOfSamples(run, run.sampleCount, defaults));
      });
      return;
    }
  }

  std::vector<Key> keys_;  // by the number of the track
  std::vector<Sum> sums_;
  std::vector<Sum> before_;  // the sums before the last fragment
};

// Adds a fragment met in `stream`. Returns whether it can be read.
bool addFragment(Mp4Stream& stream, const Mp4Box& moof, std::uint64_t fileSize, SampleSums& sums) {
  FragmentBytes bytes(stream, moof, fileSize);
  if (sums.addBytes(bytes.whole())) return true;
  std::unique_ptr<Mp4Tree> tree;
  if (!bytes.readTree(tree).ok()) return false;
  sums.addTree(tree->root()->first);
  return true;
}

void checkCounts(const SampleSums& sums, std::uint64_t fileSize) {
  for (const SampleSums::Sum& sum : sums.sums())
    if (sum.samples > fileSize) damagedSource("it counts more samples than it has bytes");
}

}  // namespace

std::vector<CountedTrack> countTracks(Mp4TopLevelReader& file) {
  const std::uint64_t fileSize = file.root()->size;
  Mp4Box* const moov = Mp4BoxChild(file.root(), box_type::kMoov);
  if (!moov) throw UserError("the source holds no movie box; give an MP4 file");
  std::vector<SourceTrack> tracks = readMovie(moov, fileSize);
  SampleSums sums(moov, tracks);
  for (Mp4Box* box = file.root()->first; box; box = box->next)
    if (box->type == box_type::kMoof) sums.addTree(box);
  bool readable = true;
  const auto visit = [&](Mp4Stream& stream, const Mp4Box& box) {
    if (box.type == box_type::kMoof) readable = addFragment(stream, box, fileSize, sums);
  };
  do checkCounts(sums, fileSize);
  while (file.passNext(visit).ok() && readable);
  std::vector<CountedTrack> counted;
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const SampleSums::Sum& sum = sums.sums()[i];
    counted.push_back({std::move(tracks[i]), sum.samples, sum.bytes, sum.ticks});
  }
  return counted;
}

}  // namespace fmp4
