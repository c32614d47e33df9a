#include "recording/write/recorded_file.h"

#include <limits>

#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "mp4box/write.h"
#include "qvr.h"
#include "recording/write/default_boxes.h"

namespace fmp4 {

namespace {

std::uint32_t dataSize(const TrackBytes& bytes) {
  std::size_t size = 0;
  for (const auto& track : bytes) size += track.size();
  return static_cast<std::uint32_t>(size);
}

Mp4DataOffsets dataOffsets(const TrackBytes& bytes) {
  const auto size = [&](mp4::TrackKind kind) {
    return static_cast<std::uint32_t>(bytes[static_cast<std::size_t>(kind)].size());
  };
  Mp4DataOffsets offsets;
  offsets.audio = size(mp4::TrackKind::Video);
  offsets.captions608 = offsets.audio + size(mp4::TrackKind::Audio);
  offsets.captions708 = offsets.captions608 + size(mp4::TrackKind::Captions608);
  return offsets;
}

// Memory is reserved before boxes are written to it, which then cannot fail. A movie box holds at most four
// tracks and one codec configuration.
constexpr std::size_t kMovieSpace = 8192 + QVR_CODEC_CONFIGURATION_BYTES;

// More than the boxes before a fragment's media data take.
std::size_t headerSpace(const mp4::MovieFragment& fragment, std::uint32_t references) {
  std::size_t space = 1024 + std::size_t{references} * 12;
  for (const mp4::TrackKind kind : mp4::kTrackKinds) {
    if (const auto& track = fragment.tracks[kind]) space += 256 + std::size_t{track->trun.sampleCount} * 16;
  }
  return space;
}

}  // namespace

bool RecordedFile::create(const std::string& path, const std::string& playlistPath) {
  const VLHANDLE file = vlOSCreateFile(path.c_str(), VL_GENERIC_READ | VL_GENERIC_WRITE, VL_SHARE_READ_WRITE,
                                       nullptr, VL_CREATE_ALWAYS, 0, VL_NO_HANDLE);
  if (file >= VL_INVALID_HANDLE - 1) return false;
  stream_.handle = file;
  path_ = path;
  playlistPath_ = playlistPath;
  if (!disk_.open(path)) return false;
  mp4::FileTypeBox fileType = Mp4SetUpFileType();
  clearHead(headerSpace({}, 0));
  Mp4WriteFileType(head_, fileType);
  if (!write(0, head_.bytes)) return false;
  end_ = head_.bytes.size();
  return true;
}

std::string RecordedFile::name() const {
  char file[VL_MAX_PATH], extension[VL_MAX_PATH];
  vlOSSplitPath(path_.c_str(), nullptr, nullptr, file, extension);
  return std::string(file) + extension;
}

bool RecordedFile::start(mp4::Movie& movie, const SegmentSettings& settings) {
  settings_ = settings;
  nextPresentationTime_ = settings.firstPresentationTime;
  clearHead(kMovieSpace);
  Mp4WriteMovie(head_, movie);
  if (!write(end_, head_.bytes)) return false;
  end_ += head_.bytes.size();
  initialisationLength_ = end_;
  return true;
}

void RecordedFile::listIn(const PlaylistSettings& playlist) {
  playlist_.start(playlistPath_, playlist);
}

void RecordedFile::listIn(MpdWriter& manifest, MpdWriter::List list) {
  manifest_ = &manifest;
  list_ = list;
}

void RecordedFile::clearHead(std::size_t space) {
  head_.bytes.clear();
  head_.bytes.reserve(space);
  head_.seek(0);
}

// Reserves the space of the index; its content follows once the segment is complete.
void RecordedFile::beginSegment() {
  // Memory is reserved now, so that a segment once begun can be listed.
  if (manifest_) manifest_->reserveSegment(list_);
  index_ = {};
  index_.referenceId = settings_.trackNumber;
  index_.timescale = settings_.timescale;
  index_.earliestPresentationTime = nextPresentationTime_;
  index_.version = nextPresentationTime_ > std::numeric_limits<std::uint32_t>::max() ? 1 : 0;
  index_.references.resize(settings_.fragmentsPerSegment);
  Mp4WriteSegmentIndex(head_, index_);
  segmentStart_ = end_;
  indexEnd_ = end_ + head_.bytes.size();
}

bool RecordedFile::AddFragment(mp4::MovieFragment& fragment, const TrackBytes& bytes,
                               const FragmentReference& reference) {
  if (failed_) return false;
  clearHead(headerSpace(fragment, settings_.fragmentsPerSegment));
  const bool begins = !segmentOpen();
  if (begins) beginSegment();
  const std::size_t fragmentStart = head_.bytes.size();
  fragment.mfhd.sequenceNumber = sequenceNumber_ + 1;
  Mp4WriteMovieFragment(head_, fragment, dataOffsets(bytes));
  const std::uint32_t size = dataSize(bytes);
  Mp4WriteU32(head_, kBoxHeaderBytes + size);
  Mp4WriteU32(head_, box_type::kMdat);

  disk_.claim(end_, head_.bytes.size() + size);
  std::uint64_t offset = end_;
  if (!write(offset, head_.bytes)) return false;
  offset += head_.bytes.size();
  for (const auto& track : bytes) {
    if (!track.empty() && !write(offset, track)) return false;
    offset += track.size();
  }
  end_ = offset;
  ++sequenceNumber_;
  if (begins) nextPresentationTime_ += settings_.duration;
  if (references_ < index_.references.size()) {
    auto& entry = index_.references[references_];
    entry.referencedSize = static_cast<std::uint32_t>(head_.bytes.size() - fragmentStart) + size;
    entry.subsegmentDuration = reference.duration;
    entry.startsWithSap = entry.sapType = reference.startsWithSap ? 1 : 0;
  }
  ++references_;
  return true;
}

bool RecordedFile::finishSegment(std::uint64_t endPosition) {
  clearHead(headerSpace({}, settings_.fragmentsPerSegment));
  Mp4WriteSegmentIndex(head_, index_);
  if (!write(segmentStart_, head_.bytes) || !syncToDisk()) {
    references_ = 0;
    return false;
  }
  playlist_.AddSegment(endPosition, segmentStart_, end_);
  if (manifest_) manifest_->AddSegment(list_, segmentStart_, end_, indexEnd_);
  references_ = 0;
  return true;
}

// The one wait that each segment of a file needs: playlist and manifest must not reach the disk before the
// media that they name. The file's name does not change once it is there.
bool RecordedFile::syncToDisk() {
  if (!disk_.sync()) {
    failed_ = true;
    return false;
  }
  if (!named_) named_ = os::syncName(path_);
  return true;
}

void RecordedFile::close() {
  playlist_.end();
  disk_.close();
  stream_.close();
}

bool RecordedFile::write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  const auto count = static_cast<std::int64_t>(bytes.size());
  if (stream_.seek(offset) && stream_.write(bytes.data(), count) == count) return true;
  failed_ = true;
  disk_.cut(end_);
  return false;
}

}  // namespace fmp4
