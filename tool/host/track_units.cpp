#include "tool/host/track_units.h"

#include <algorithm>
#include <memory>

#include "base/user_error.h"
#include "streaming/index/fragment_bytes.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kReadTogether = 256 << 10;  // bytes
constexpr std::uint64_t kMaxUnitBytes = 64 << 20;

}  // namespace

TrackUnits::TrackUnits(const std::string& path) : file_(path) {
  if (!file_.isOpen() || !file_.movie()) return;
  try {
    tracks_ = readMovie(file_.movie(), file_.root()->size);
    for (SourceTrack& each : tracks_) each.samples.clear();
    for (Mp4Box* box = file_.root()->first; box; box = box->next)
      if (box->type == box_type::kMoof) addFragment(box);
  } catch (const UserError&) {
    tracks_.clear();
  }
}

bool TrackUnits::choose(std::initializer_list<std::uint32_t> codecs) {
  const auto found = std::find_if(tracks_.begin(), tracks_.end(), [&](const SourceTrack& track) {
    return std::find(codecs.begin(), codecs.end(), track.codec) != codecs.end();
  });
  return chooseAt(static_cast<std::size_t>(found - tracks_.begin()));
}

bool TrackUnits::chooseAt(std::size_t place) {
  place_ = place;
  return track() != nullptr;
}

// All tracks are read: where the runs of one end, those of the next may start.
void TrackUnits::addFragment(Mp4Box* moof) {
  readFragment(file_.movie(), moof, file_.root()->size, tracks_);
}

bool TrackUnits::readOn() try {
  bool readable = true;
  const auto visit = [&](Mp4Stream& stream, const Mp4Box& box) {
    if (box.type != box_type::kMoof) return;
    std::unique_ptr<Mp4Tree> tree;
    readable = FragmentBytes(stream, box, file_.root()->size).readTree(tree).ok();
    if (readable) addFragment(tree->root()->first);
  };
  Result passed;
  do {
    for (SourceTrack& each : tracks_) each.samples.clear();
    nextSample_ = 0;
    passed = file_.boxes().passNext(visit);
  } while (passed.ok() && readable && track()->samples.empty());
  damaged_ = !readable || (!passed.ok() && passed != Defect::EndOfData) || file_.stream().readFailures() != 0;
  return passed.ok() && readable;
} catch (const UserError&) {
  damaged_ = true;
  return false;
}

bool TrackUnits::next() {
  if (!track() || damaged_) return false;
  if (nextSample_ == track()->samples.size() && !readOn()) return false;
  sample_ = track()->samples[nextSample_++];
  return true;
}

std::optional<std::span<const std::uint8_t>> TrackUnits::bytes() {
  const auto held = [this] {
    const std::uint64_t place = sample_.offset - windowOffset_;
    return sample_.offset >= windowOffset_ && place <= window_.size() &&
           sample_.size <= window_.size() - place;
  };
  if (!held()) fill();
  if (!held()) return std::nullopt;
  return std::span(window_).subspan(static_cast<std::size_t>(sample_.offset - windowOffset_), sample_.size);
}

// Reads the current sample, and those right after it in the file.
void TrackUnits::fill() {
  const std::uint64_t size = file_.root()->size;
  window_.clear();
  windowOffset_ = sample_.offset;
  if (sample_.size > kMaxUnitBytes || sample_.offset > size || sample_.size > size - sample_.offset) return;
  const std::uint64_t together = track()->samples.bytesInOnePiece(nextSample_ - 1, kReadTogether);
  window_.resize(static_cast<std::size_t>(std::min(together, size - sample_.offset)));
  std::int64_t got = 0;
  if (file_.stream().seek(sample_.offset))
    got = file_.stream().read(window_.data(), static_cast<std::int64_t>(window_.size()));
  window_.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
}

}  // namespace fmp4
