#include "tool/viewer/media_answers.h"

#include <algorithm>
#include <map>

#include "base/user_error.h"
#include "os/path_name.h"
#include "tool/host/host_log.h"
#include "tool/viewer/box_tree.h"
#include "tool/viewer/file_description.h"
#include "tool/viewer/frame_list.h"
#include "tool/viewer/overview_json.h"
#include "tool/viewer/parameters.h"
#include "tool/viewer/segment_playlist.h"

namespace fmp4 {

namespace fs = std::filesystem;

namespace {

constexpr const char* kText = "text/plain; charset=utf-8";
constexpr const char* kPlaylist = "application/vnd.apple.mpegurl";

bool isIn(const fs::path& folder, const std::string& file) {
  std::error_code error;
  const fs::path path = fs::canonical(vlPath(file), error);
  if (error) return true;  // there is no such file
  return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

}  // namespace

OpenedFiles MediaAnswers::filesOf(const DataRequest& request) const {
  const auto opened = opened_.get(request.file, [&] { return openedFiles(vlName(request.file)); });
  for (const std::string& file : {opened->media, opened->companion})
    if (!file.empty() && !isIn(request.folder, file))
      throw UserError("its media are outside the served folder; serve a folder that holds both");
  return *opened;
}

std::shared_ptr<const FragmentTable> MediaAnswers::tableOf(const DataRequest& request) const {
  const std::string media = filesOf(request).media;
  return tables_.get(vlPath(media), [&media] { return FragmentTable(media); });
}

std::optional<std::string> MediaAnswers::overviewAnswer(const DataRequest& request) const {
  static const std::map<std::string, std::string (*)(const Overview&, const DataRequest&)> kAnswers = {
      {"overview", [](const Overview& overview, const DataRequest&) { return overviewJson(overview); }},
      {"overview-frames", overviewFramesJson},
      {"overview-audio", overviewAudioJson},
      {"overview-captions", overviewCaptionsJson}};
  const auto found = kAnswers.find(request.subject);
  if (found == kAnswers.end()) return std::nullopt;
  return found->second(*overviews_.of(vlName(request.file), filesOf(request)), request);
}

std::shared_ptr<const CaptionScreens> MediaAnswers::captionsOf(const DataRequest& request) const {
  const std::string media = filesOf(request).media;
  return captions_.get(vlPath(media), [&] { return CaptionScreens(plugin_, vlName(request.file), media); });
}

DataAnswer MediaAnswers::answer(const DataRequest& request) const {
  const HeldLog log;
  try {
    if (request.subject == "describe") {
      static_cast<void>(filesOf(request));  // checks where they are
      const auto describe = [&] { return fileDescription(plugin_, vlName(request.file), request.name); };
      return {200, "application/json", *descriptions_.get(request.file, describe)};
    }
    if (request.subject == "frames")
      return {200, "application/json", frameListJson(*tableOf(request), request)};
    if (request.subject == "boxes") {
      const auto table = [&] { return tableOf(request); };
      return {200, "application/json", boxTreeJson(filesOf(request).media, request, table)};
    }
    if (request.subject == "captions") return {200, "application/json", captionsOf(request)->json(request)};
    if (request.subject == "playlist")
      return {200, kPlaylist, segmentPlaylist(*tableOf(request), request.name)};
    if (const auto overview = overviewAnswer(request)) return {200, "application/json", *overview};
    if (request.subject == "segment") return {200, "video/mp4", segmentBytes(request)};
  } catch (const BadRequest& error) {
    return {400, kText, std::string(error.what()) + "\n"};
  }
  return {404, kText, "nothing is known of '" + request.subject + "'\n"};
}

}  // namespace fmp4
