#include "recording/check/repair_plan.h"

#include <filesystem>
#include <system_error>

#include "base/text.h"
#include "os/file_in_use.h"
#include "os/path_name.h"
#include "os/unfinished_replacements.h"
#include "recording/check/existing_lists.h"

namespace fmp4 {

namespace {

void refuse(RepairPlan& plan, std::string why, std::string remedy) {
  plan = {};
  plan.refusal = std::move(why);
  plan.remedy = std::move(remedy);
}

// Whether the recording must be left as it is.
bool mustStay(const Recording& recording, AudioLoss loss, RepairPlan& plan) {
  for (const auto& [path, media] : recording.media()) {
    if (os::isBeingWritten(path)) {
      refuse(plan, "'" + path + "' is being written", "repair it when that has ended");
    } else if (media->afterDamage()) {
      refuse(plan,
             "'" + path + "' is damaged at byte " + std::to_string(media->end()) +
                 ", and complete fragments follow the damage, from byte " +
                 std::to_string(*media->afterDamage()) + " on: it was not merely interrupted",
             "get an undamaged copy");
    }
    if (plan.refused()) return true;
  }
  if (recording.lostAudio().empty() || loss == AudioLoss::Accepted) return false;
  refuse(plan, "the audio file '" + recording.paths().audio + "' " + recording.lostAudio(),
         "put it back, or give 'fmp4 repair' the option --accept-loss to go on without it");
  return true;
}

void planMedia(const std::string& path, const RecordedMedia& media, RepairPlan& plan) {
  RepairPlan::Media repair{path, {}, media.end(), media.size() - media.end()};
  for (const std::size_t i : media.rewritableIndexes()) {
    const RecordedMedia::Segment& segment = media.segments()[i];
    repair.indexes.push_back({segment.start, media.indexBytes(segment)});
  }
  if (repair.surplus != 0 || !repair.indexes.empty()) plan.media.push_back(std::move(repair));
}

void planList(const std::string& path, const std::string& expected, RepairPlan& plan) {
  if (!expected.empty() && readList(path) != expected) plan.lists.push_back({path, expected});
}

// Either system's line ends are right: it may come from another one.
void planPlaylist(const std::string& path, const std::string& expected, RepairPlan& plan) {
  const auto actual = readList(path);
  if (expected.empty() || (actual && plainLines(*actual) == expected)) return;
  plan.lists.push_back({path, systemLines(expected)});
}

}  // namespace

std::vector<std::string> leftoversOf(const RecordingPaths& paths) {
  std::vector<std::string> found;
  for (const std::string& list :
       {paths.videoPlaylist, paths.audioPlaylist, paths.masterPlaylist, paths.manifest}) {
    if (list.empty()) continue;
    const std::vector<std::string> left = os::unfinishedReplacements(list);
    found.insert(found.end(), left.begin(), left.end());
  }
  return found;
}

RepairPlan planRepair(const Recording& recording, const Recording::Lists& lists, AudioLoss loss) {
  const RecordingPaths& paths = recording.paths();
  RepairPlan plan;
  if (mustStay(recording, loss, plan)) return plan;
  for (const auto& [path, media] : recording.media()) planMedia(path, *media, plan);
  planPlaylist(paths.videoPlaylist, lists.videoPlaylist, plan);
  planPlaylist(paths.audioPlaylist, lists.audioPlaylist, plan);
  planList(paths.masterPlaylist, lists.masterPlaylist, plan);
  planList(paths.manifest, lists.manifest, plan);
  plan.removed = leftoversOf(paths);
  std::error_code ignored;
  if (!recording.lostAudio().empty() && std::filesystem::exists(vlPath(paths.audioPlaylist), ignored))
    plan.removed.push_back(paths.audioPlaylist);
  return plan;
}

}  // namespace fmp4
