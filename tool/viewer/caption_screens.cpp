#include "tool/viewer/caption_screens.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "base/text.h"
#include "base/user_error.h"
#include "captions/screen_sequence.h"
#include "tool/host/fragment_table.h"
#include "tool/viewer/parameters.h"

namespace fmp4 {

namespace {

using captions::CaptionChannel;
using captions::CaptionRegion;
using captions::Cell;
using Json = nlohmann::ordered_json;

constexpr std::uint32_t kMostFrames = 1000;

captions::PictureShape shapeOf(CAMediaFile& file) {
  QVRVIDEO video = {};
  file.GetFileInfo(kVideoChannel, nullptr, &video, nullptr, nullptr);
  return captions::pictureShapeOf(static_cast<std::uint32_t>(std::max(video.bitmap.width, 0)),
                                  static_cast<std::uint32_t>(std::abs(std::int64_t{video.bitmap.height})));
}

// Captions are stored for the time at which a frame is decoded; the picture that is shown then is an earlier
// one.
std::uint32_t displayDelay(const std::string& media, const FrameRate& rate) {
  constexpr double kMostDelayed = 16;  // frames, which H.264 lets a decoder hold back
  const FragmentTable table(media, 1);
  const std::vector<PresentedSample> first = table.presented(0, 1);
  if (first.empty() || table.timescale() == 0) return 0;
  const auto ticks = static_cast<double>(first.front().compositionTicks) -
                     static_cast<double>(table.fragments().front().decodeTicks);
  const double frames = std::round(ticks * rate.value() / table.timescale());
  return static_cast<std::uint32_t>(std::clamp(frames, 0.0, kMostDelayed));
}

CaptionChannel channelOf(const DataRequest& request) {
  constexpr std::uint64_t kMostChannels = 4, kMostServices = 63;
  const auto channel = wholeNumber(request, "channel", kMostChannels);
  const auto service = wholeNumber(request, "service", kMostServices);
  if (channel && service) throw BadRequest("'channel' and 'service' exclude each other");
  const std::uint64_t number = service ? *service : channel.value_or(1);
  if (number == 0) throw BadRequest("'channel' and 'service' are counted from 1");
  return {service ? CaptionChannel::Standard::Cea708 : CaptionChannel::Standard::Cea608,
          static_cast<unsigned>(number)};
}

std::string colourText(const captions::Colour& colour) {
  constexpr std::uint64_t kLevel = 85;  // of 255: a component has four
  return "#" +
         hexText(kLevel * (std::uint64_t{colour.red} << 16 | std::uint64_t{colour.green} << 8 | colour.blue),
                 6);
}

const char* opacityText(captions::Opacity opacity) {
  constexpr std::array<const char*, 4> kTexts = {"solid", "flash", "translucent", "transparent"};
  return kTexts.at(static_cast<std::size_t>(opacity));
}

const char* edgeText(captions::Edge edge) {
  constexpr std::array<const char*, 6> kTexts = {"none",    "raised",      "depressed",
                                                 "uniform", "left-shadow", "right-shadow"};
  return kTexts.at(static_cast<std::size_t>(edge));
}

const char* fontText(captions::Font font) {
  constexpr std::array<const char*, 8> kTexts = {"default",         "monospaced-serif",  "proportional-serif",
                                                 "monospaced-sans", "proportional-sans", "casual",
                                                 "cursive",         "small-capitals"};
  return kTexts.at(static_cast<std::size_t>(font));
}

// What differs from the usual pen.
void addPen(Json& run, const Cell& cell) {
  const captions::TextStyle& style = cell.style;
  const captions::TextShape& shape = cell.shape;
  const captions::TextStyle usual;
  if (style.foreground != usual.foreground) run["foreground"] = colourText(style.foreground);
  if (style.foregroundOpacity != usual.foregroundOpacity)
    run["foregroundOpacity"] = opacityText(style.foregroundOpacity);
  if (style.background != usual.background) run["background"] = colourText(style.background);
  if (style.backgroundOpacity != usual.backgroundOpacity)
    run["backgroundOpacity"] = opacityText(style.backgroundOpacity);
  if (style.italics) run["italics"] = true;
  if (style.underline) run["underline"] = true;
  if (shape.size != captions::PenSize::Standard)
    run["size"] = shape.size == captions::PenSize::Small ? "small" : "large";
  if (shape.offset != captions::PenOffset::Normal)
    run["offset"] = shape.offset == captions::PenOffset::Subscript ? "subscript" : "superscript";
  if (shape.font != captions::Font::Default) run["font"] = fontText(shape.font);
  if (shape.edge == captions::Edge::None) return;
  run["edge"] = edgeText(shape.edge);
  run["edgeColour"] = colourText(shape.edgeColour);
}

// Adds the characters of a row that follow each other with one pen, as one object each.
void addRow(Json& runs, const CaptionRegion& region, unsigned row) {
  const Cell* const cells = region.cells.data() + std::size_t{row} * region.columns;
  for (unsigned column = 0; column < region.columns;) {
    const Cell& first = cells[column];
    unsigned end = column;
    std::string text;
    for (; end < region.columns && cells[end].character != 0 && cells[end].style == first.style &&
           cells[end].shape == first.shape;
         ++end)
      captions::appendUtf8(text, cells[end].character);
    if (end != column) {
      runs.push_back({{"row", row}, {"column", column}, {"columns", end - column}, {"text", text}});
      addPen(runs.back(), first);
    }
    column = std::max(end, column + 1);
  }
}

Json regionJson(const CaptionRegion& region) {
  constexpr std::array<const char*, 3> kAlignments = {"left", "centre", "right"};
  Json runs = Json::array();
  for (unsigned row = 0; row < region.rows; ++row) addRow(runs, region, row);
  return {{"window", region.window},
          {"top", region.top},
          {"left", region.left},
          {"width", region.width},
          {"height", region.height},
          {"rows", region.rows},
          {"columns", region.columns},
          {"align", kAlignments.at(static_cast<std::size_t>(region.alignment))},
          {"fill", colourText(region.fill)},
          {"fillOpacity", opacityText(region.fillOpacity)},
          {"border", edgeText(region.border)},
          {"borderColour", colourText(region.borderColour)},
          {"text", runs}};
}

// `delay`: frames by which pictures are shown later than their numbers say.
Json screenJson(const captions::ShownScreen& shown, std::int64_t delay) {
  constexpr std::array<const char*, 4> kModes = {"none", "pop-on", "paint-on", "roll-up"};
  Json regions = Json::array();
  for (const CaptionRegion& region : shown.screen.regions) regions.push_back(regionJson(region));
  return {{"from", shown.first - delay},
          {"to", shown.end - delay},
          {"mode", kModes.at(static_cast<std::size_t>(shown.screen.mode))},
          {"regions", regions}};
}

std::optional<CaptionFrames> captionFrames(CAMediaFile& file, const std::string& name) {
  QVRINFO info{};
  if (file.VidChan() != 0) file.GetFileInfo(kVideoChannel, nullptr, nullptr, nullptr, &info);
  if (info.captions == 0) return std::nullopt;
  return std::make_optional<CaptionFrames>(file, name);
}

}  // namespace

CaptionScreens::CaptionScreens(const Plugin& plugin, const std::string& file, const std::string& media)
    : file_(plugin.openQuietly(file)),
      frames_(captionFrames(*file_, file)),
      total_(file_->VidChan() != 0 ? file_->GetTotalFrames() : 0),
      delay_(frames_ ? displayDelay(media, frames_->rate()) : 0),
      shape_(shapeOf(*file_)) {}

std::string CaptionScreens::json(const DataRequest& request) const {
  const CaptionChannel channel = channelOf(request);
  const std::uint64_t from =
      wholeNumber(request, "from", std::numeric_limits<std::uint32_t>::max()).value_or(0);
  const std::uint64_t count = wholeNumber(request, "count", kMostFrames).value_or(kMostFrames);
  const std::uint64_t to = std::max(from, std::min(from + count, total_));
  const std::uint64_t begin = std::min(from + delay_, total_), end = std::min(to + delay_, total_);
  Json json = {{"frames", total_},
               {"from", from},
               {"to", to},
               {"channels", Json::array()},
               {"screens", Json::array()}};
  if (!frames_) return json.dump();
  const FrameRate rate = frames_->rate();
  captions::ScreenSequence screens(channel, shape_, rate.value(), static_cast<std::int64_t>(from + delay_));
  if (to > from) {
    const std::lock_guard<std::mutex> lock(reading_);
    frames_->read({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)},
                  captionLead(rate), [&screens](const FrameCaptions& frame) {
                    screens.add(frame.frame, frame.pair, frame.distributionPacket());
                  });
  }
  for (const CaptionChannel& each : screens.channels())
    json["channels"].push_back(
        {{each.standard == CaptionChannel::Standard::Cea608 ? "channel" : "service", each.number}});
  for (const captions::ShownScreen& shown : screens.finish(static_cast<std::int64_t>(to + delay_)))
    json["screens"].push_back(screenJson(shown, delay_));
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace fmp4
