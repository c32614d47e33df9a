#include "tool/export/lost_audio.h"

#include <algorithm>
#include <cstdio>

namespace fmp4 {

namespace {

// Maximum number of intervals that are listed.
constexpr std::size_t kMaxPlaces = 10;

// "0:01:23.4".
std::string timeText(std::uint64_t position, std::uint32_t sampleRate) {
  const std::uint64_t tenths = position * 10 / sampleRate;
  char text[48];
  std::snprintf(text, sizeof text, "%llu:%02u:%02u.%u", static_cast<unsigned long long>(tenths / 36000),
                static_cast<unsigned>(tenths / 600 % 60), static_cast<unsigned>(tenths / 10 % 60),
                static_cast<unsigned>(tenths % 10));
  return text;
}

}  // namespace

void LostAudio::addUnits(std::uint64_t from, std::uint64_t to, std::uint32_t units) {
  units_ += units;
  if (units > 0) addPlace(from, to);
}

void LostAudio::addGap(std::uint64_t from, std::uint64_t to) {
  unread_ = true;
  addPlace(from, to);
}

std::string LostAudio::text(const std::string& name) const {
  const std::string ends =
      end_ ? "ends at " + timeText(*end_, sampleRate_) + ", before its stated length" : std::string();
  if (places_.empty()) return ends.empty() ? ends : "the audio of '" + name + "' " + ends;
  return "of the audio of '" + name + "' " + placesText() + (ends.empty() ? ends : "; it " + ends);
}

std::string LostAudio::placesText() const {
  std::string line;
  if (units_ > 0)
    line += std::to_string(units_) + " access unit" + (units_ == 1 ? "" : "s") + " could not be decoded";
  if (unread_) line += std::string(units_ > 0 ? " and " : "") + "parts could not be read";
  line += "; silence takes their place: ";
  for (std::size_t i = 0; i < std::min(places_.size(), kMaxPlaces); ++i) {
    line += (i > 0 ? ", " : "") + timeText(places_[i].from, sampleRate_) + " to " +
            timeText(places_[i].to, sampleRate_);
  }
  if (places_.size() > kMaxPlaces)
    line += " and " + std::to_string(places_.size() - kMaxPlaces) + " more places";
  return line;
}

void LostAudio::addPlace(std::uint64_t from, std::uint64_t to) {
  if (!places_.empty() && places_.back().to == from)
    places_.back().to = to;
  else
    places_.push_back({from, to});
}

}  // namespace fmp4
