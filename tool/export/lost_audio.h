// Which exported audio was lost, and where.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fmp4 {

// Positions are PCM frames; they must be given in ascending order.
class LostAudio {
 public:
  explicit LostAudio(std::uint32_t sampleRate) : sampleRate_(sampleRate) {}

  // `units` access units within [from, to) could not be decoded.
  void addUnits(std::uint64_t from, std::uint64_t to, std::uint32_t units);
  // None of [from, to) was delivered.
  void addGap(std::uint64_t from, std::uint64_t to);

  // The audio ends at `position`, before its stated end.
  void setEnd(std::uint64_t position) { end_ = position; }

  // The report in one line, without line end; `name` is the file's. Empty when nothing was lost.
  std::string text(const std::string& name) const;

 private:
  struct Place {
    std::uint64_t from, to;
  };

  std::string placesText() const;
  void addPlace(std::uint64_t from, std::uint64_t to);

  std::uint32_t sampleRate_;  // Hz
  std::uint64_t units_ = 0;
  bool unread_ = false;
  std::vector<Place> places_;
  std::optional<std::uint64_t> end_;
};

}  // namespace fmp4
