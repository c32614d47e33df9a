// What the served page is told of media files.
#pragma once

#include "tool/host/plugin_host.h"
#include "tool/serve/media_data.h"

namespace fmp4 {

// Answers by the subject of a request; status 404 for an unknown one.
class MediaAnswers {
 public:
  // `plugin` must outlive the object.
  explicit MediaAnswers(const Plugin& plugin) : plugin_(plugin) {}

  // May be called on several threads at once. Throws UserError with the reason when the file cannot be read.
  DataAnswer answer(const DataRequest& request) const;

 private:
  const Plugin& plugin_;
};

}  // namespace fmp4
