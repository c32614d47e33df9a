#include "recording/check/repair.h"

#include "base/text.h"
#include "base/user_error.h"
#include "os/disk_file.h"
#include "os/file_in_use.h"
#include "os/replace_file.h"
#include "recording/check/verify.h"

namespace fmp4 {

namespace {

void refuseWhatIsNotTruncated(const Recording& recording) {
  for (const auto& [path, media] : recording.media()) {
    if (os::isBeingWritten(path))
      throw UserError("'" + path + "' is being written; repair it when that has ended");
    if (media->afterDamage())
      throw UserError("'" + path + "' is damaged at byte " + std::to_string(media->end()) +
                      ", and complete fragments follow the damage, from byte " +
                      std::to_string(*media->afterDamage()) +
                      " on: it was not merely interrupted, and nothing was changed. Get an undamaged copy");
  }
}

[[noreturn]] void cannotWrite(const std::string& path) {
  throw UserError("'" + path +
                  "' could not be written; make room on the disk and repair again; nothing is lost");
}

// Writes the indexes that differ from the expected ones. Returns how many.
std::size_t completeIndexes(Mp4Stream& out, const std::string& path, const RecordedMedia& media) {
  std::size_t completed = 0;
  for (const RecordedMedia::Segment& segment : media.segments()) {
    const auto due = media.indexBytes(segment);
    const auto is = media.storedIndexBytes(segment);
    // An index that needs another size cannot be rewritten in place.
    if (!is || *is == due || is->size() != due.size()) continue;
    const auto size = static_cast<std::int64_t>(due.size());
    if (!out.seek(segment.start) || out.write(due.data(), size) != size) cannotWrite(path);
    ++completed;
  }
  return completed;
}

// The indexes reach the disk before anything that relies on them.
void repairMedia(const std::string& path, const RecordedMedia& media, std::vector<std::string>& done) {
  Mp4Stream out;
  os::DiskFile disk;
  const VLHANDLE handle = out.open(path.c_str(), MP4_MODE_UPDATE);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE || !disk.open(path)) cannotWrite(path);
  const std::size_t indexes = completeIndexes(out, path, media);
  if (indexes != 0) {
    if (!disk.sync()) cannotWrite(path);
    done.push_back(media.name() + ": " + std::to_string(indexes) + " segment index" +
                   (indexes == 1 ? "" : "es") + " completed");
  }
  if (media.size() == media.end()) return;
  if (!disk.cut(media.end()) || !disk.sync()) cannotWrite(path);
  done.push_back(media.name() + ": " + std::to_string(media.size() - media.end()) +
                 " bytes after the last complete fragment removed");
}

void writeList(const std::string& path, const std::string& text, std::vector<std::string>& done) {
  if (os::replaceFile(path, text)) cannotWrite(path);
  done.push_back(fileNameOf(path) + ": rewritten");
}

void repairList(const std::string& path, const std::string& expected, std::vector<std::string>& done) {
  if (!expected.empty() && readList(path) != expected) writeList(path, expected, done);
}

// A start time that recording keeps; it may come from another system.
void repairPlaylist(const std::string& path, const std::string& expected, std::vector<std::string>& done) {
  const auto is = readList(path);
  if (expected.empty() || (is && plainLines(*is) == expected)) return;
  writeList(path, systemLines(expected), done);
}

}  // namespace

std::vector<std::string> repairRecording(const std::string& name, const Recording::Progress& progress) {
  const Recording recording(name, RecordedMedia::Data::Last, progress);
  refuseWhatIsNotTruncated(recording);
  const Recording::Lists lists = recording.lists();
  const RecordingNames& names = recording.names();
  std::vector<std::string> done;
  for (const auto& [path, media] : recording.media()) repairMedia(path, *media, done);
  repairPlaylist(names.videoPlaylist, lists.videoPlaylist, done);
  repairPlaylist(names.audioPlaylist, lists.audioPlaylist, done);
  repairList(names.masterPlaylist, lists.masterPlaylist, done);
  repairList(names.manifest, lists.manifest, done);
  return done;
}

}  // namespace fmp4
