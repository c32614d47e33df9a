// Opens a source: finds its files, sets up its tracks and the index, and seeks to the first samples.
#include <utility>

#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/source.h"
#include "streaming/index/seek.h"
#include "streaming/lists/file_set.h"
#include "streaming/lists/manifest_reader.h"

namespace fmp4 {

namespace {

// Positions a cursor at the first sample of its track, without loading data.
Result positionOnFirstChunk(FragmentIndex& index, TrackRole role, TrackCursor& cursor) {
  cursor = TrackCursor(index.track(role));
  if (const Result located = cursor.locateFragment(index, index.nextOccupied(0), 0); !located.ok())
    return located;
  return cursor.advance(index) == Advance::Ready ? Result() : Defect::EndOfData;
}

}  // namespace

Source::Source(HostView host) : host_(std::move(host)) {}

Source::~Source() {
  companion_.reset();
  for (const auto& track : audioTracks_) track->closeDecoder();
}

std::uint32_t Source::open(const char* fileName, std::uint32_t openFlags, LastManifest& lastManifest) {
  openFlags_ = openFlags;
  const bool audioOnly = (openFlags & MF_OPEN_AUDIO_ONLY) != 0;
  FileSet files = findFileSet(fileName, audioOnly);
  const Manifest* const manifest = loadManifest(files, lastManifest);
  // Without a video file the audio file is the main one.
  const bool fromAudio = audioOnly || files.video.empty();
  const ManifestTrack none;
  const ManifestTrack& segments = !manifest ? none : fromAudio ? manifest->audio : manifest->video;
  const std::string& source = fromAudio ? files.audio : files.video;
  if (const std::uint32_t result = openFile(source.c_str()); result != VL_OK) return result;
  if (const std::uint32_t result = describeTracks(manifest); result != VL_OK) return result;
  index_.emplace(*file_, tracks_, nominalRate_);
  for (const auto& track : audioTracks_) track->countIn(*index_);
  // Without any index that can be read, the fragments themselves are found.
  for (const std::uint64_t offset : segments.indexOffsets) {
    if (index_->AddFragmentsAt(offset).kind() == DefectKind::NoMemory) return VL_FAILED;
  }
  if (index_->empty() && !index_->build().ok()) return VL_FAILED;
  if (const std::uint32_t result = positionReaders(); result != VL_OK) return result;
  for (const auto& track : audioTracks_) track->openDecoder();
  if (!audioOnly && files.audio != source) companionPath_ = files.audio;
  return VL_OK;
}

std::uint32_t Source::openFile(const char* path) {
  const VLHANDLE handle = stream_.open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) return messages::fail(messages::kCannotOpenFile);
  handle_ = handle;
  // The index walks what comes after the movie box.
  file_ = Mp4ReadRoot(stream_, false);
  if (!file_) return messages::fail(messages::kNoFileRoot);
  return VL_OK;
}

std::uint32_t Source::positionReaders() {
  if (hasVideo() && !positionOnFirstChunk(*index_, kVideoTrack, videoCursor_).ok())
    return messages::fail(messages::kNoFirstVideoChunk);
  if (tracks_[kCc608Track].present()) {
    if (!positionOnFirstChunk(*index_, kCc608Track, cc608_.cursor).ok()) {
      messages::reportError(messages::kNoFirst608Chunk);
    } else {
      cc608_.ccBaseFrame = frameOfDecodeTime(*index_, cc608_.cursor);
    }
  }
  if (tracks_[kCc708Track].present() && !positionOnFirstChunk(*index_, kCc708Track, cc708Cursor_).ok()) {
    messages::reportError(messages::kNoFirst708Chunk);
  }
  // Audio may start late or, if only declared, never: any first fragment is sufficient.
  TrackCursor audio(tracks_[kAudioTrack]);
  if (tracks_[kAudioTrack].present() && !audio.locateFragment(*index_, index_->nextOccupied(0), 0).ok())
    return messages::fail(messages::kNoFirstAudioChunk);
  return VL_OK;
}

std::uint32_t Source::checkComplete() {
  if (stream_.readFailures() != 0) return messages::fail(messages::kNotReadToItsEnd);
  if (file_->memoryShort()) return messages::fail(messages::kNoMemoryToOpen);
  return VL_OK;
}

void Source::join(std::unique_ptr<CMFFmp4> companion) {
  const HostView audio = companion->host();
  host_.audioMask = audio.audioMask;
  host_.audio = audio.audio;
  companion_ = std::move(companion);
}

}  // namespace fmp4
