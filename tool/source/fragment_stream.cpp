#include "tool/source/fragment_stream.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/bytes.h"
#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/box_type.h"
#include "mp4box/stream.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kMaxBoxBytes = 64u << 20;   // maximum for a "moov" or "moof"
constexpr std::uint64_t kMaxDataBytes = 1u << 30;   // maximum for a "mdat"
constexpr std::size_t kMaxHeldBytes = 64u << 20;    // samples that wait for their video
constexpr std::size_t kMaxHeldSamples = 1u << 20;   // samples that wait, for each track
constexpr std::size_t kMaxSamples = 1u << 22;       // all tracks, in one fragment and before it
constexpr std::size_t kMaxEmptySamples = 1u << 16;  // in one fragment; all others take a byte
constexpr std::size_t kPiece = 1u << 20;            // memory is allocated as bytes arrive

[[noreturn]] void damaged(const std::string& what) {
  throw UserError("the input is damaged: " + what + "; what came before is recorded");
}

// `offset` is the position of the bytes in the stream.
Mp4BoxPtr parse(const std::vector<std::uint8_t>& bytes, std::uint32_t type, std::uint64_t offset) {
  Mp4MemoryStream memory(bytes.data(), bytes.size(), offset);
  Mp4BoxPtr box;
  Result read = Mp4ReadBox(memory, nullptr, box);
  if (read.ok() && box->type != type) read = Defect::BoxTypeUnexpected;
  if (!read.ok())
    damaged("a box of the type '" + fourCcText(type) + "' cannot be read, because " +
            std::string(defectText(read.defect())));
  return box;
}

// The sample counts of a fragment's runs. Runs without values of their own may state any count.
std::uint64_t samplesOf(const Mp4Box& moof) {
  std::uint64_t count = 0;
  for (const Mp4Box* traf = moof.first; traf; traf = traf->next) {
    for (const Mp4Box* child = traf->first; child; child = child->next) {
      if (const auto* run = Mp4PayloadOf<mp4::TrackRunBox>(child)) count += run->sampleCount;
    }
  }
  return count;
}

}  // namespace

FragmentStream::FragmentStream(std::string name, Input input)
    : name_(std::move(name)), input_(std::move(input)) {
  std::vector<std::uint8_t> movie;
  if (!takeMovie(movie)) throw UserError("the input ends before its movie box; give a fragmented MP4");
  movie_ = parse(movie, box_type::kMoov, offset_ - movie.size());
  tracks_ = readMovie(movie_.get(), offset_);
  const bool allFragmented =
      Mp4BoxChild(movie_.get(), box_type::kMvex) &&
      std::all_of(tracks_.begin(), tracks_.end(), [](const SourceTrack& t) { return t.samples.empty(); });
  if (!allFragmented)
    throw UserError(
        "the input is a plain MP4, which cannot be read as it arrives; ffmpeg -movflags "
        "+frag_keyframe+empty_moov+default_base_moof makes a fragmented one");
}

// False at the end. An end within a box is damage, unless the end was requested.
bool FragmentStream::take(std::span<std::uint8_t> bytes, bool betweenBoxes) {
  std::size_t taken = 0;
  while (taken < bytes.size()) {
    const std::size_t count = input_.read(bytes.subspan(taken));
    taken += count;
    offset_ += count;
    if (count != 0) continue;
    if (input_.endAsked() || (betweenBoxes && taken == 0)) return false;
    damaged("it ends inside a box, after " + std::to_string(offset_) + " bytes");
  }
  return true;
}

bool FragmentStream::takeHeader(Header& header) {
  header.bytes.resize(8);
  if (!take(header.bytes, true)) return false;
  std::uint64_t size = Mp4LoadU32(header.bytes.data());
  header.type = Mp4LoadU32(header.bytes.data() + 4);
  if (size == 1) {
    header.bytes.resize(16);
    if (!take(std::span(header.bytes).subspan(8), false)) return false;
    size = std::uint64_t{Mp4LoadU32(header.bytes.data() + 8)} << 32 | Mp4LoadU32(header.bytes.data() + 12);
  }
  if (size == 0)
    damaged("the box '" + fourCcText(header.type) + "' has no size but lasts until the end of the input");
  if (size < header.bytes.size()) damaged("no box starts at byte " + std::to_string(offset_ - 8));
  header.payload = size - header.bytes.size();
  return true;
}

// Appends the payload of a box.
bool FragmentStream::takePayload(std::uint64_t size, std::vector<std::uint8_t>& bytes) {
  while (size != 0) {
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size, kPiece));
    bytes.resize(bytes.size() + piece);
    if (!take(std::span(bytes).last(piece), false)) return false;
    size -= piece;
  }
  return true;
}

bool FragmentStream::skip(std::uint64_t size) {
  std::array<std::uint8_t, 4096> bytes;
  while (size != 0) {
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size, bytes.size()));
    if (!take(std::span(bytes).first(piece), false)) return false;
    size -= piece;
  }
  return true;
}

bool FragmentStream::takeMovie(std::vector<std::uint8_t>& bytes) {
  Header header;
  while (takeHeader(header)) {
    if (header.type == box_type::kMoov) {
      if (header.payload > kMaxBoxBytes) damaged("its movie box is too large");
      bytes = header.bytes;
      return takePayload(header.payload, bytes);
    }
    if (header.type == box_type::kMdat)
      throw UserError(
          "the input has media data before its movie box, and cannot be read as it arrives; ffmpeg -movflags "
          "+frag_keyframe+empty_moov+default_base_moof makes a fragmented MP4");
    if (!skip(header.payload)) return false;
  }
  return false;
}

bool FragmentStream::more() {
  forgetUsed();
  return readFragment();
}

bool FragmentStream::readFragment() {
  Header header;
  std::vector<std::uint8_t> moof;
  std::uint64_t moofOffset = 0;
  while (takeHeader(header)) {
    if (header.type == box_type::kMoof) {
      if (!moof.empty()) damaged("a fragment has no media data");
      if (header.payload > kMaxBoxBytes) damaged("the boxes of a fragment are too large");
      moofOffset = offset_ - header.bytes.size();
      moof = header.bytes;
      if (!takePayload(header.payload, moof)) return false;
    } else if (header.type == box_type::kMdat && !moof.empty()) {
      if (header.payload > kMaxDataBytes) damaged("the media data of a fragment are too large");
      const std::uint64_t dataOffset = offset_;
      const std::size_t dataPlace = data_.size();
      if (!takePayload(header.payload, data_)) return false;
      addSamples(moof, moofOffset, dataOffset, dataPlace);
      return true;
    } else if (!skip(header.payload)) {
      return false;
    }
  }
  if (!moof.empty() && !input_.endAsked()) damaged("a fragment has no media data");
  return false;
}

// The samples that a fragment's boxes describe, whose data came at `dataOffset` of the stream and are held
// from `dataPlace` on.
void FragmentStream::addSamples(const std::vector<std::uint8_t>& moof, std::uint64_t moofOffset,
                                std::uint64_t dataOffset, std::size_t dataPlace) {
  const Mp4BoxPtr box = parse(moof, box_type::kMoof, moofOffset);
  const std::uint64_t dataSize = data_.size() - dataPlace;
  const std::uint64_t added = samplesOf(*box);
  std::uint64_t count = added;
  for (const SourceTrack& track : tracks_) count += track.samples.size();
  if (added > dataSize + kMaxEmptySamples || count > kMaxSamples)
    damaged("a fragment claims too many samples");
  std::vector<SampleList> waiting;
  for (SourceTrack& track : tracks_) waiting.push_back(std::exchange(track.samples, {}));
  fmp4::readFragment(movie_.get(), box.get(), kMaxSamples, tracks_);
  for (std::size_t i = 0; i < tracks_.size(); ++i) {
    for (SourceSample sample : tracks_[i].samples) {
      const std::uint64_t place = sample.offset - dataOffset;
      if (sample.offset < dataOffset || place > dataSize || sample.size > dataSize - place)
        damaged("a sample lies outside of its fragment's media data");
      sample.offset = dataPlace + place;
      waiting[i].push_back(sample);
    }
    tracks_[i].samples = std::move(waiting[i]);
  }
}

std::span<std::uint8_t> FragmentStream::read(const SourceTrack& track, std::size_t index) {
  const SourceSample sample = track.samples[index];
  return std::span(data_).subspan(static_cast<std::size_t>(sample.offset), sample.size);
}

bool FragmentStream::holdsMuch() const {
  return data_.size() > kMaxHeldBytes;
}

void FragmentStream::forgetUsed() {
  spare_.clear();
  for (SourceTrack& track : tracks_) {
    SampleList waiting;
    for (std::size_t i = track.next; track.wanted && i < track.samples.size(); ++i) {
      const auto bytes = read(track, i);
      SourceSample sample = track.samples[i];
      sample.offset = spare_.size();
      spare_.insert(spare_.end(), bytes.begin(), bytes.end());
      waiting.push_back(sample);
    }
    track.samples = std::move(waiting);
    track.next = 0;
    if (track.samples.size() > kMaxHeldSamples) damaged("one of its tracks runs too far ahead of the video");
  }
  if (spare_.size() > kMaxHeldBytes) damaged("one of its tracks runs too far ahead of the video");
  data_.swap(spare_);
}

}  // namespace fmp4
