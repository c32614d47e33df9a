// What the served page is told of media files.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "tool/host/fragment_table.h"
#include "tool/host/movie_file.h"
#include "tool/host/plugin_host.h"
#include "tool/serve/media_data.h"
#include "tool/viewer/caption_screens.h"
#include "tool/viewer/file_cache.h"
#include "tool/viewer/overviews.h"

namespace fmp4 {

// Answers by the subject of a request; status 404 for an unknown one.
//   describe  file_description.h
//   frames    frame_list.h
//   boxes     box_tree.h
//   captions  caption_screens.h
//   playlist, segment  segment_playlist.h
//   overview, overview-frames, overview-audio, overview-captions  overview_json.h
class MediaAnswers {
 public:
  // `plugin` must outlive the object.
  explicit MediaAnswers(const Plugin& plugin, OverviewCache cache = OverviewCache(overviewFolder()))
      : plugin_(plugin), overviews_(plugin, std::move(cache)) {}

  // May be called on several threads at once. Throws UserError with the reason when the file cannot be read.
  DataAnswer answer(const DataRequest& request) const;

 private:
  std::shared_ptr<const FragmentTable> tableOf(const DataRequest& request) const;
  std::shared_ptr<const CaptionScreens> captionsOf(const DataRequest& request) const;

  // The answers about overviews; none for another subject.
  std::optional<std::string> overviewAnswer(const DataRequest& request) const;

  // The files that the plug-in opens for the file of a request. Throws UserError when they are outside the
  // served folder, where a manifest may lead.
  OpenedFiles filesOf(const DataRequest& request) const;

  const Plugin& plugin_;
  mutable FileCache<OpenedFiles> opened_{256};
  mutable FileCache<std::string> descriptions_{4096};  // some hundred bytes each
  mutable FileCache<FragmentTable> tables_{4};
  mutable FileCache<CaptionScreens> captions_{8};
  mutable Overviews overviews_;
};

}  // namespace fmp4
