// What `info` says of a file beside the plug-in's description and its tracks.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tool/host/ac3_streams.h"
#include "tool/host/file_facts.h"
#include "tool/host/group_lengths.h"
#include "tool/host/movie_file.h"

namespace fmp4 {

class InfoFacts {
 public:
  // Of the files that the plug-in opens for a name.
  explicit InfoFacts(const OpenedFiles& files);

  // Adds the facts to the description of the file, and those of tracks to the list of its tracks.
  void addTo(nlohmann::ordered_json& description) const;
  void addToTracks(nlohmann::ordered_json& tracks) const;

  // The facts in lines, for people; and what follows on the line of a track, by its place in the list.
  std::string text() const;
  std::string trackText(std::size_t track) const;

 private:
  std::optional<GroupLengths> groups_;
  FileFacts file_;
  std::vector<std::optional<Ac3Stream>> ac3_;  // of each track
};

}  // namespace fmp4
