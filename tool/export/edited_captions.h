// Captions moved by edit lists, which the plug-in leaves to its host.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tool/package/paced_times.h"
#include "tool/package/package_plan.h"
#include "tool/source/source_captions.h"
#include "tool/source/source_file.h"

namespace fmp4 {

class EditedCaptions {
 public:
  // Null when no edit list of the file that the plug-in opens for `name` moves captions relative to the
  // video. Throws UserError when the file is damaged or has no video.
  static std::unique_ptr<EditedCaptions> of(const std::string& name);

  // Replaces the captions in the descriptor of a frame. Frames must be requested in ascending order, which
  // rewind() begins anew.
  void replaceIn(DFRAME& descriptor, std::uint32_t frame);
  void rewind();

 private:
  explicit EditedCaptions(const std::string& path);
  const SourceTrack& video();

  SourceFile source_;
  PacedTimes times_;
  SourceCaptions cc608_;
  SourceCaptions cc708_;
};

}  // namespace fmp4
