// Overviews of files in a folder of the user, so that each file is read once.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "tool/viewer/overview.h"

namespace fmp4 {

// Where overviews are kept: "overviews" in the folder that the environment variable FMP4_CACHE names, else in
// "fmp4" in the user's cache ($XDG_CACHE_HOME, ~/.cache; %LOCALAPPDATA%). Empty when there is no such folder.
std::filesystem::path overviewFolder();

// A cache that cannot be read or written is one that has nothing; nothing fails. Processes may share it.
class OverviewCache {
 public:
  static constexpr std::uint64_t kMaxBytes = std::uint64_t{1} << 30;

  // Makes the folder when something is stored. `maxBytes`: of all files in it.
  explicit OverviewCache(std::filesystem::path folder, std::uint64_t maxBytes = kMaxBytes)
      : folder_(std::move(folder)), maxBytes_(maxBytes) {}

  // The overview of the file `name` that was stored with this key.
  std::optional<Overview::Finest> load(const std::string& name, const std::string& key) const;
  // Replaces that of the file `name`, and removes those that were used longest ago where they are too many.
  void store(const std::string& name, const std::string& key, const Overview::Finest& overview) const;

 private:
  std::filesystem::path pathOf(const std::string& name) const;
  void makeRoom() const;

  std::filesystem::path folder_;
  std::uint64_t maxBytes_;
};

}  // namespace fmp4
