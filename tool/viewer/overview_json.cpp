#include "tool/viewer/overview_json.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "tool/viewer/parameters.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t kMaxLevel = 31;  // 4^31 values

std::string dumped(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const char* stateName(Overview::State state) {
  switch (state) {
    case Overview::State::Complete:
      return "complete";
    case Overview::State::Failed:
      return "failed";
    case Overview::State::Reading:
      break;
  }
  return "reading";
}

const char* kindName(AudioFault::Kind kind) {
  switch (kind) {
    case AudioFault::Kind::Gap:
      return "gap";
    case AudioFault::Kind::Lost:
      return "lost";
    case AudioFault::Kind::Unread:
      break;
  }
  return "unread";
}

struct AskedCells {
  std::size_t level = 0, from = 0, count = 0;
};

AskedCells askedCells(const DataRequest& request) {
  const auto number = [&request](const char* name, std::uint64_t most, std::uint64_t otherwise) {
    return static_cast<std::size_t>(wholeNumber(request, name, most).value_or(otherwise));
  };
  return {number("level", kMaxLevel, 0), number("from", std::numeric_limits<std::uint32_t>::max(), 0),
          number("count", kMaxOverviewCells, kMaxOverviewCells)};
}

// A member of each cell as an array.
template <class Cell, class Member>
Json column(const std::vector<Cell>& cells, Member Cell::*member) {
  Json values = Json::array();
  for (const Cell& cell : cells) values.push_back(cell.*member);
  return values;
}

template <class Member>
Json columns(const AudioCells& channels, Member AudioCell::*member) {
  Json values = Json::array();
  for (const auto& cells : channels) values.push_back(column(cells, member));
  return values;
}

// The first PCM frame of a cell of a level, saturated far after any end.
std::uint64_t firstOfCell(std::size_t level, std::uint64_t cell, std::uint32_t sampleRate) {
  for (; level > 0; --level) cell = std::min(cell, std::uint64_t{1} << 40) * kCellsMerged;
  return audioCellStart(std::min(cell, std::uint64_t{1} << 31), sampleRate);
}

}  // namespace

std::string overviewJson(const Overview& overview) {
  const Overview::Progress progress = overview.progress();
  const OverviewStreams& streams = progress.streams;
  Json json = {{"state", stateName(progress.state)},
               {"why", progress.why.empty() ? Json() : Json(progress.why)},
               {"video", nullptr},
               {"audio", nullptr},
               {"captions", progress.captions}};
  if (streams.frames != 0)
    json["video"] = {{"frames", streams.frames},
                     {"read", progress.frames},
                     {"rate", streams.rate.numerator},
                     {"scale", streams.rate.denominator},
                     {"levels", levelsOver(streams.frames)}};
  if (streams.channels != 0)
    json["audio"] = {{"channels", streams.channels},
                     {"sampleRate", streams.sampleRate},
                     {"samples", streams.samples},
                     {"leadSeconds", static_cast<double>(streams.audioLeadNanoseconds) / 1e9},
                     {"cellsASecond", kAudioCellsASecond},
                     {"cells", streams.audioCells()},
                     {"read", progress.audioCells},
                     {"levels", levelsOver(static_cast<std::size_t>(streams.audioCells()))},
                     {"faults", progress.faults}};
  return dumped(json);
}

std::string overviewFramesJson(const Overview& overview, const DataRequest& request) {
  const AskedCells asked = askedCells(request);
  const std::vector<FrameCell> cells = overview.frames(asked.level, asked.from, asked.count);
  return dumped({{"level", asked.level},
                 {"from", asked.from},
                 {"bytes", column(cells, &FrameCell::bytes)},
                 {"largest", column(cells, &FrameCell::largest)},
                 {"frames", column(cells, &FrameCell::frames)},
                 {"keys", column(cells, &FrameCell::keys)},
                 {"fragments", column(cells, &FrameCell::fragments)},
                 {"segments", column(cells, &FrameCell::segments)},
                 {"unread", column(cells, &FrameCell::unread)}});
}

std::string overviewAudioJson(const Overview& overview, const DataRequest& request) {
  const AskedCells asked = askedCells(request);
  const AudioCells cells = overview.audio(asked.level, asked.from, asked.count);
  const std::uint32_t rate = overview.progress().streams.sampleRate;
  const auto start = [&asked, rate](std::uint64_t cell) { return firstOfCell(asked.level, cell, rate); };
  Json faults = Json::array();
  for (const AudioFault& fault :
       overview.faults(start(asked.from), start(asked.from + asked.count), kMaxOverviewCells))
    faults.push_back(
        {{"kind", kindName(fault.kind)}, {"from", fault.from}, {"to", fault.to}, {"units", fault.units}});
  return dumped({{"level", asked.level},
                 {"from", asked.from},
                 {"peak", columns(cells, &AudioCell::peak)},
                 {"rms", columns(cells, &AudioCell::rms)},
                 {"faults", faults}});
}

std::string overviewCaptionsJson(const Overview& overview, const DataRequest& request) {
  constexpr std::uint64_t kAnyFrame = std::numeric_limits<std::uint32_t>::max();
  const auto from = wholeNumber(request, "from", kAnyFrame).value_or(0);
  const auto to = wholeNumber(request, "to", kAnyFrame).value_or(kAnyFrame);
  const auto most = wholeNumber(request, "count", kMaxOverviewCells).value_or(kMaxOverviewCells);
  if (from > to) throw BadRequest("'from' is after 'to'");
  Json channels = Json::array();
  for (const auto& [channel, cues] :
       overview.captions(static_cast<std::int64_t>(from), static_cast<std::int64_t>(to),
                         static_cast<std::uint32_t>(most))) {
    Json listed = Json::array();
    for (const TextCue& cue : cues)
      listed.push_back({{"first", cue.first}, {"end", cue.end}, {"text", cue.text}});
    channels.push_back({{"channel", channel}, {"cues", listed}});
  }
  return dumped({{"channels", channels}});
}

}  // namespace fmp4
