#include "tool/host/fragment_table.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/require_read.h"
#include "streaming/index/fragment_bytes.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

// A day at 48 frames a second with a fragment each has so many; they take 160 MB.
constexpr std::size_t kMostFragments = 4u << 20;
// Coded frames are at most so many places away from where they are presented (H.264, H.265: 16).
constexpr std::uint64_t kMostReordered = 32;

[[noreturn]] void fragmentsChanged() {
  throw UserError("the fragments of the file are not where they were; load the page again");
}

// The samples of one fragment of a track, which has none yet.
void readSamplesOf(MovieFile& movie, Mp4Stream& stream, const Mp4Box& header,
                   std::vector<SourceTrack>& tracks) {
  std::unique_ptr<Mp4Tree> tree;
  if (!FragmentBytes(stream, header, movie.root()->size).readTree(tree).ok()) fragmentsChanged();
  readFragment(movie.movie(), tree->root()->first, movie.root()->size, tracks);
}

// Whether `fits` says so of the header of any track in a fragment.
template <class Fits>
bool anyTrack(const Mp4Box* moof, Fits fits) {
  for (Mp4Box* traf = moof->first; traf; traf = traf->next) {
    if (traf->type != box_type::kTraf) continue;
    const auto* header = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(Mp4BoxChild(traf, box_type::kTfhd));
    if (header && fits(*header, traf)) return true;
  }
  return false;
}

}  // namespace

FragmentTable::FragmentTable(const std::string& file, std::size_t most) : file_(file) {
  MovieFile movie(file);
  if (!movie.isOpen() || !movie.movie())
    throw UserError("'" + file + "' has no movie box; get a complete copy");
  findTrack(movie);
  movieEnd_ = movie.movie()->position + movie.movie()->size;
  walk(movie, most);
  dropIncomplete();
  if (fragments_.empty()) throw UserError("'" + file + "' has no complete movie fragments");
  const auto byNumber = [](const TimedFragment& a, const TimedFragment& b) {
    return a.sequenceNumber < b.sequenceNumber;
  };
  std::stable_sort(fragments_.begin(), fragments_.end(), byNumber);
  numberSamples();
}

void FragmentTable::findTrack(MovieFile& movie) {
  std::vector<SourceTrack> tracks = readMovie(movie.movie(), movie.root()->size);
  const auto first = [&tracks](std::uint32_t codec, std::uint32_t other) {
    return std::find_if(tracks.begin(), tracks.end(), [&](const SourceTrack& track) {
      return (track.codec == codec || track.codec == other) && track.timescale != 0;
    });
  };
  auto found = first(kAvc1, kHvc1);
  isVideo_ = found != tracks.end();
  if (!isVideo_) found = first(kMp4a, kAc3);
  if (found == tracks.end()) throw UserError("'" + file_ + "' has no track that can be read");
  track_ = std::move(*found);
  track_.samples.clear();  // the plug-in reads fragments alone
  track_.nextDecodeTime = 0;
}

void FragmentTable::walk(MovieFile& movie, std::size_t most) {
  bool readable = true;  // what comes after damage is left out
  const auto visit = [&](Mp4Stream& stream, const Mp4Box& box) {
    if (box.type == box_type::kMdat && box.position + box.size <= movie.root()->size)
      mediaEnd_ = std::max(mediaEnd_, box.position + box.size);
    passedSegmentIndex_ = passedSegmentIndex_ || box.type == box_type::kSidx;
    if (box.type != box_type::kMoof) return;
    std::unique_ptr<Mp4Tree> tree;
    readable = FragmentBytes(stream, box, movie.root()->size).readTree(tree).ok();
    if (readable) add(movie, tree->root()->first);
  };
  for (Mp4Box* box = movie.root()->first; box; box = box->next) {
    passedSegmentIndex_ = passedSegmentIndex_ || box->type == box_type::kSidx;
    if (box->type == box_type::kMoof) add(movie, box);
  }
  // One more shows that those before it are complete; its own media are not read.
  while (readable && fragments_.size() <= most && movie.boxes().passNext(visit).ok()) {
  }
  requireRead(movie.stream(), file_);
}

void FragmentTable::add(MovieFile& movie, Mp4Box* moof) {
  std::vector<SourceTrack> tracks = {track_};
  readFragment(movie.movie(), moof, movie.root()->size, tracks);
  placesInFile_ = placesInFile_ || anyTrack(moof, [](const auto& header, const Mp4Box*) {
                    return (header.flags & mp4::TrackFragmentHeaderBox::kBaseDataOffset) != 0;
                  });
  const SourceTrack& read = tracks.front();
  track_.nextDecodeTime = read.nextDecodeTime;
  if (read.samples.empty()) return;
  if (fragments_.size() >= kMostFragments)
    throw UserError("'" + file_ +
                    "' has too many fragments to be played here; 'fmp4 package' makes a recording");
  const auto* number = Mp4PayloadOf<mp4::MovieFragmentHeaderBox>(Mp4BoxChild(moof, box_type::kMfhd));
  const SourceSample sample = read.samples.front();
  statesTimes_ = statesTimes_ && !anyTrack(moof, [](const auto&, Mp4Box* traf) {
                   return !Mp4BoxChild(traf, box_type::kTfdt);
                 });
  fragments_.push_back({moof->position, sample.decodeTime, 0, static_cast<std::uint32_t>(read.samples.size()),
                        number ? number->sequenceNumber : 0, sample.key,
                        std::exchange(passedSegmentIndex_, false)});
}

// The media of a fragment that is being written come after its boxes.
void FragmentTable::dropIncomplete() {
  endTicks_ = track_.nextDecodeTime;
  while (!fragments_.empty() && fragments_.back().offset >= mediaEnd_) {
    endTicks_ = fragments_.back().decodeTicks;
    fragments_.pop_back();
  }
}

void FragmentTable::numberSamples() {
  for (TimedFragment& fragment : fragments_) {
    fragment.firstSample = samples_;
    samples_ += fragment.samples;
  }
}

std::vector<PresentedSample> FragmentTable::presented(std::uint64_t from, std::uint32_t count) const {
  const std::uint64_t begin = from - std::min(from, kMostReordered);
  const std::uint64_t wanted = std::min<std::uint64_t>(count, samples_ - std::min(from, samples_));
  const std::uint64_t end = std::min(from + wanted + kMostReordered, samples_);
  MovieFile movie(file_);
  if (!movie.isOpen() || !movie.movie()) fragmentsChanged();
  std::vector<PresentedSample> samples;
  auto fragment = std::upper_bound(fragments_.begin(), fragments_.end(), begin,
                                   [](std::uint64_t n, const TimedFragment& f) { return n < f.firstSample; });
  if (fragment != fragments_.begin()) --fragment;
  for (; fragment != fragments_.end() && fragment->firstSample < end; ++fragment) {
    std::vector<SourceTrack> tracks = {track_};
    tracks.front().nextDecodeTime = fragment->decodeTicks;
    Mp4Box header;
    header.father = movie.root();
    if (!movie.stream().seek(fragment->offset) || !Mp4ReadBoxHeader(movie.stream(), header).ok() ||
        header.type != box_type::kMoof)
      fragmentsChanged();
    readSamplesOf(movie, movie.stream(), header, tracks);
    std::uint64_t number = fragment->firstSample;
    for (const SourceSample sample : tracks.front().samples) {
      if (number >= begin && number < end)
        samples.push_back({number, sample.presentationTime(), track_.present(sample), sample.key});
      ++number;
    }
  }
  std::stable_sort(samples.begin(), samples.end(), [](const PresentedSample& a, const PresentedSample& b) {
    return a.compositionTicks < b.compositionTicks;
  });
  const auto first = std::min<std::uint64_t>(from - begin, samples.size());
  samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(first));
  samples.resize(static_cast<std::size_t>(std::min<std::uint64_t>(wanted, samples.size())));
  return samples;
}

std::uint64_t FragmentTable::sampleNear(double seconds) const {
  const double ticks = seconds * track_.timescale;
  const auto after = std::upper_bound(
      fragments_.begin(), fragments_.end(), ticks,
      [](double t, const TimedFragment& f) { return t < static_cast<double>(f.decodeTicks); });
  return after == fragments_.begin() ? 0 : std::prev(after)->firstSample;
}

}  // namespace fmp4
