#include "recording/check/repair.h"

#include <filesystem>
#include <system_error>

#include "base/user_error.h"
#include "os/disk_file.h"
#include "os/path_name.h"
#include "os/replace_file.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

// `error` is the system's reason, none where it is not known.
[[noreturn]] void cannotWrite(const std::string& path, std::error_code error = {}) {
  const bool full = error == std::errc::no_space_on_device;
  const bool denied = error == std::errc::permission_denied || error == std::errc::read_only_file_system ||
                      error == std::errc::operation_not_permitted;
  throw UserError("'" + path + "' could not be written" + (error ? ": " + error.message() : "") + "; " +
                  (denied ? "change its permissions or those of its folder"
                   : full ? "make room on the disk"
                          : "make sure that the disk has room and may be written") +
                  " and repair again; nothing is lost");
}

std::error_code hostError() {
  return {static_cast<int>(vlOSGetLastError()), std::system_category()};
}

// Does what a plan says, or only reports it.
class Repair {
 public:
  explicit Repair(bool dryRun) : dryRun_(dryRun) {}

  std::vector<std::string> run(const RepairPlan& plan) {
    for (const RepairPlan::Media& media : plan.media) repairMedia(media);
    for (const RepairPlan::List& list : plan.lists) rewrite(list);
    for (const std::string& path : plan.removed) remove(path);
    return std::move(report_);
  }

 private:
  void note(const std::string& path, const std::string& what, const char* done) {
    report_.push_back(fileNameOf(path) + ": " + what + (dryRun_ ? "to be " : "") + done);
  }

  // The indexes reach the disk before anything that relies on them.
  void repairMedia(const RepairPlan::Media& media) {
    Mp4Stream out;
    os::DiskFile disk;
    if (!dryRun_) {
      const VLHANDLE handle = out.open(media.path.c_str(), MP4_MODE_UPDATE);
      if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) cannotWrite(media.path, hostError());
      if (!disk.open(media.path)) cannotWrite(media.path);
    }
    if (const std::size_t count = media.indexes.size(); count != 0) {
      if (!dryRun_) writeIndexes(media, out, disk);
      note(media.path, std::to_string(count) + " segment index" + (count == 1 ? " " : "es "), "completed");
    }
    if (media.surplus == 0) return;
    if (!dryRun_ && (!disk.cut(media.end) || !disk.sync())) cannotWrite(media.path);
    note(media.path, std::to_string(media.surplus) + " bytes after the last complete fragment ", "removed");
  }

  static void writeIndexes(const RepairPlan::Media& media, Mp4Stream& out, os::DiskFile& disk) {
    for (const RepairPlan::Index& index : media.indexes) {
      const auto size = static_cast<std::int64_t>(index.bytes.size());
      if (!out.seek(index.offset) || out.write(index.bytes.data(), size) != size)
        cannotWrite(media.path, hostError());
    }
    if (!disk.sync()) cannotWrite(media.path);
  }

  void rewrite(const RepairPlan::List& list) {
    if (!dryRun_)
      if (const std::error_code error = os::replaceFile(list.path, list.text)) cannotWrite(list.path, error);
    note(list.path, "", "rewritten");
  }

  void remove(const std::string& path) {
    std::error_code error;
    if (!dryRun_ && !std::filesystem::remove(vlPath(path), error) && error) cannotWrite(path, error);
    note(path, "", "removed");
  }

  bool dryRun_;
  std::vector<std::string> report_;
};

}  // namespace

std::vector<std::string> repairRecording(const std::string& name, const Recording::Progress& progress,
                                         const RepairOptions& options) {
  const Recording recording(name, RecordedMedia::Data::Last, progress);
  const RepairPlan plan = planRepair(recording, recording.lists(), options.loss);
  if (plan.refused()) throw UserError(plan.refusal + ", and nothing was changed; " + plan.remedy);
  return Repair(options.dryRun).run(plan);
}

}  // namespace fmp4
