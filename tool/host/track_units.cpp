#include "tool/host/track_units.h"

#include <algorithm>

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/boxes/audio_entry.h"
#include "streaming/index/fragment_bytes.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kReadTogether = 256 << 10;  // bytes
constexpr std::uint64_t kMaxUnitBytes = 64 << 20;

}  // namespace

TrackUnits::TrackUnits(const std::string& path, std::size_t place) : file_(path), place_(place) {
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
  damaged_ = !readable || (!passed.ok() && passed != Defect::EndOfData);
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

// Reads the current sample, and those that lie behind it in the file.
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

std::optional<std::size_t> firstAudioTrack(const std::string& path) {
  MovieFile file(path);
  if (!file.isOpen()) return std::nullopt;
  for (std::uint32_t i = 0; Mp4Box* const trak = Mp4BoxChild(file.movie(), box_type::kTrak, i); ++i) {
    const Mp4Box* const entry = Mp4BoxGet(nullptr, trak, true, "mdia/minf/stbl/stsd/[0]");
    if (entry && (entry->type == kMp4a || entry->type == kAc3) && Mp4PayloadOf<mp4::AudioSampleEntry>(entry))
      return i;
  }
  return std::nullopt;
}

}  // namespace fmp4
