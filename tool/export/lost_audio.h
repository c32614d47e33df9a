// What of exported sound could not be delivered, and where.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Positions are in sample frames; they are given in rising order.
class LostSound {
 public:
  explicit LostSound(std::uint32_t sampleRate) : sampleRate_(sampleRate) {}

  // So many access units within [from, to) decoded to nothing.
  void addUnits(std::uint64_t from, std::uint64_t to, std::uint32_t units);
  // Nothing was delivered of [from, to).
  void addGap(std::uint64_t from, std::uint64_t to);

  // The sound ends at `position`, before its stated end.
  void setEnd(std::uint64_t position) { end_ = position; }

  // In one line without its end, `name` being the file's; empty when nothing was lost.
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
