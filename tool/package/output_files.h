// The files that packaging makes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fmp4 {

class OutputFiles {
 public:
  // Those of a recording under the name `output`. Throws UserError when no recording can have that name.
  explicit OutputFiles(const std::string& output);

  // Throws UserError when they must not be written: one of them is the source, another program is recording
  // them, or some exist and `replace` is false.
  void check(const std::string& input, bool replace) const;

  // Removes those that did not exist when this object was made: a run that failed leaves nothing behind.
  void removeNew() const;

  const std::filesystem::path& videoPlaylist() const { return videoPlaylist_; }
  const std::filesystem::path& audioPlaylist() const {
    return audioPlaylist_;
  }  // empty without audio of its own
  const std::filesystem::path& masterPlaylist() const { return masterPlaylist_; }
  // Those that exist now, media first.
  std::vector<std::filesystem::path> existing() const;

 private:
  void checkLengths(const std::string& output) const;

  std::filesystem::path videoPlaylist_;
  std::filesystem::path audioPlaylist_;
  std::filesystem::path masterPlaylist_;
  std::vector<std::filesystem::path> files_;     // all of them, media first
  std::vector<std::filesystem::path> previous_;  // those that existed
};

}  // namespace fmp4
