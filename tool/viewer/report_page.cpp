#include "tool/viewer/report_page.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "base/number_text.h"
#include "base/text.h"
#include "tool/viewer/report_drawings.h"

namespace fmp4 {

namespace {

constexpr std::size_t kMaxListed = 200;
constexpr std::uint32_t kMaxParts = 2000;  // of a drawing
constexpr std::size_t kFramesAtOnce = 4096;

constexpr const char* kStyle = R"(
:root { color-scheme: light dark; --text: #1a1f27; --faint: #566173; --line: #c9cfd8; --bar: #8b96a5;
  --accent: #0a63c9; --warning: #9a5200; --back: #fff; }
@media screen and (prefers-color-scheme: dark) { :root { --text: #e6e9ee; --faint: #97a1af; --line: #343c47;
  --bar: #5d6978; --accent: #4da3ff; --warning: #ffb454; --back: #14171c; } }
body { max-width: 76rem; margin: 2rem auto; padding: 0 1rem; color: var(--text); background: var(--back);
  font: 15px/1.45 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.4rem; } h2 { font-size: 1.1rem; margin-top: 2rem; border-bottom: 1px solid var(--line); }
section { break-inside: avoid; }
svg { display: block; width: 100%; height: 9rem; border: 1px solid var(--line); margin: 0.4rem 0; }
svg.lane, .lane svg { height: 1.5rem; }
path { fill: none; stroke: var(--bar); stroke-width: 1; vector-effect: non-scaling-stroke; }
path.key, path.rate, path.mean { stroke: var(--accent); } path.key { opacity: 0.6; }
path.rate { stroke: var(--warning); stroke-width: 1.5; }
path.part { stroke: none; fill: var(--accent); } .faults path.part { fill: var(--warning); }
table { border-collapse: collapse; } th, td { text-align: left; padding: 0.15rem 1.5rem 0.15rem 0;
  font-variant-numeric: tabular-nums; } th { color: var(--faint); font-weight: normal; }
p, li { margin: 0.25rem 0; }
)";

std::string list(const std::vector<std::string>& lines) {
  std::string text = "<ul>\n";
  for (std::size_t i = 0; i < lines.size() && i < kMaxListed; ++i)
    text += "<li>" + htmlText(lines[i]) + "</li>\n";
  if (lines.size() > kMaxListed)
    text += "<li>and " + std::to_string(lines.size() - kMaxListed) + " more</li>\n";
  return text + "</ul>\n";
}

using Row = std::vector<std::string>;

// The first row is the heading.
std::string table(const std::vector<Row>& rows) {
  std::string text = "<table>\n";
  for (std::size_t i = 0; i < rows.size() && i <= kMaxListed; ++i) {
    const std::string cell = i == 0 ? "th" : "td";
    text += "<tr>";
    for (const std::string& value : rows[i])
      text.append("<").append(cell).append(">").append(htmlText(value)).append("</").append(cell).append(">");
    text += "</tr>\n";
  }
  text += "</table>\n";
  const std::size_t entries = rows.size() - 1;
  if (entries > kMaxListed) text += "<p>and " + std::to_string(entries - kMaxListed) + " more</p>\n";
  return text;
}

std::string section(const std::string& title, const std::string& content) {
  return "<section>\n<h2>" + title + "</h2>\n" + content + "</section>\n";
}

std::string paragraph(const std::string& text) {
  return "<p>" + htmlText(text) + "</p>\n";
}

std::string kilobits(double bitsASecond) {
  return fixedText(bitsASecond / 1000, 1) + " kbit/s";
}

// Counts of the frames of a file, gone through once.
struct FrameFigures {
  std::uint64_t bytes = 0, keys = 0, unread = 0;
  std::uint32_t largest = 0, smallest = 0;
  std::map<std::uint64_t, std::uint64_t> intervals;  // how many key-frame intervals there are by length
  std::uint64_t fastestSecond = 0;                   // bytes of the second with the most, by frame numbers
};

FrameFigures figuresOf(const Overview& overview, const OverviewStreams& streams) {
  FrameFigures figures;
  figures.smallest = FrameValue::kMaxBytes;
  const auto second = static_cast<std::uint64_t>(std::max(std::lround(streams.rate.value()), 1L));
  std::uint64_t number = 0, lastKey = 0, inSecond = 0;
  for (std::size_t from = 0; from < streams.frames; from += kFramesAtOnce)
    for (const FrameCell& frame : overview.frames(0, from, kFramesAtOnce)) {
      figures.bytes += frame.bytes;
      figures.unread += frame.unread;
      figures.largest = std::max(figures.largest, frame.largest);
      if (frame.unread == 0) figures.smallest = std::min(figures.smallest, frame.largest);
      if (frame.keys != 0 && figures.keys++ != 0) ++figures.intervals[number - lastKey];
      if (frame.keys != 0) lastKey = number;
      inSecond += frame.bytes;
      if (++number % second != 0) continue;
      figures.fastestSecond = std::max(figures.fastestSecond, std::exchange(inSecond, 0));
    }
  if (number < second) figures.fastestSecond = inSecond * second / std::max<std::uint64_t>(number, 1);
  return figures;
}

std::string bitRateSection(const Overview& overview, const OverviewStreams& streams,
                           const FrameFigures& figures) {
  const double seconds = streams.rate.known() ? streams.frames / streams.rate.value() : 0;
  const double bits = static_cast<double>(figures.bytes) * 8;
  const auto cells = overview.frames(reportLevel(streams.frames), 0, kReportColumns);
  std::vector<Row> rows = {
      {"frames", "bytes", "mean", "most in a second", "smallest frame", "largest frame"},
      {std::to_string(streams.frames), std::to_string(figures.bytes),
       seconds > 0 ? kilobits(bits / seconds) : "unknown",
       kilobits(static_cast<double>(figures.fastestSecond) * 8), std::to_string(figures.smallest) + " bytes",
       std::to_string(figures.largest) + " bytes"}};
  std::string text =
      table(rows) + bitRateDrawing(cells, streams.rate, "Frame sizes and bit rate") +
      paragraph("Bars: the largest frame of each column, up to " + std::to_string(figures.largest) +
                " bytes; those with key frames are coloured. Line: the bit rate.");
  if (figures.unread != 0) text += paragraph(std::to_string(figures.unread) + " frames cannot be read.");
  return section("Bit rate", text);
}

std::string keyFrameSection(const OverviewStreams& streams, const FrameFigures& figures) {
  if (figures.keys == 0) return section("Key frames", paragraph("There are none."));
  std::vector<Row> rows = {{"frames from one to the next", "seconds", "how often"}};
  for (const auto& [length, count] : figures.intervals)
    rows.push_back(
        {std::to_string(length),
         streams.rate.known() ? fixedText(static_cast<double>(length) / streams.rate.value(), 3) : "unknown",
         std::to_string(count)});
  return section("Key frames", paragraph("Key frames: " + std::to_string(figures.keys)) +
                                   (figures.intervals.empty() ? "" : table(rows)));
}

std::string decibels(std::uint32_t magnitude) {
  return magnitude == 0 ? "silence" : fixedText(20 * std::log10(magnitude / 32768.0), 1) + " dB";
}

std::string waveFormSection(const Overview& overview, const OverviewStreams& streams) {
  const auto count = static_cast<std::size_t>(streams.audioCells());
  const std::size_t levels = levelsOver(count);
  const AudioCells whole = overview.audio(levels - 1, 0, 1);
  const AudioCells cells = overview.audio(reportLevel(count), 0, kReportColumns);
  std::string text;
  std::vector<Row> rows = {{"channel", "peak", "RMS"}};
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    if (!whole[i].empty())
      rows.push_back({number, decibels(whole[i].front().peak), decibels(whole[i].front().rms)});
    text += waveFormDrawing(cells[i], "Wave form of channel " + number);
  }
  return section("Wave form", table(rows) + text);
}

const char* faultText(AudioFault::Kind kind) {
  switch (kind) {
    case AudioFault::Kind::Gap:
      return "gap";
    case AudioFault::Kind::Lost:
      return "lost";
    case AudioFault::Kind::Unread:
      break;
  }
  return "not read";
}

std::string faultSection(const Overview& overview, const OverviewStreams& streams) {
  const std::vector<AudioFault> faults = overview.faults(0, streams.samples, Overview::kMaxFaults);
  if (faults.empty())
    return section("Gaps and lost audio", paragraph("The audio has no gaps, and all of it is decoded."));
  const double rate = streams.sampleRate;
  std::vector<Row> rows = {{"what", "from", "to", "access units"}};
  for (const AudioFault& fault : faults)
    rows.push_back({faultText(fault.kind), clockText(static_cast<double>(fault.from) / rate),
                    clockText(static_cast<double>(fault.to) / rate),
                    fault.units != 0 ? std::to_string(fault.units) : ""});
  std::vector<DrawnPart> parts;
  for (const AudioFault& fault : overview.faults(0, streams.samples, kMaxParts))
    parts.push_back({static_cast<double>(fault.from), static_cast<double>(fault.to)});
  const std::string lane =
      partsDrawing(parts, static_cast<double>(streams.samples), "Where audio is missing");
  return section("Gaps and lost audio", "<div class=\"lane faults\">" + lane + "</div>\n" + table(rows));
}

std::string captionSection(const Overview& overview, const OverviewStreams& streams) {
  constexpr std::uint32_t kAll = 0xFFFFFFFFu;
  const CuesByChannel drawn = overview.captions(0, streams.frames, kMaxParts);
  if (drawn.empty()) return section("Captions", paragraph("There are none."));
  std::vector<Row> rows = {{"channel", "captions", "on the screen"}};
  std::string lanes;
  for (const auto& [channel, cues] : overview.captions(0, streams.frames, kAll)) {
    std::int64_t frames = 0;
    for (const TextCue& cue : cues) frames += cue.end - cue.first;
    rows.push_back({channel, std::to_string(cues.size()),
                    fixedText(100.0 * static_cast<double>(frames) / streams.frames, 1) + " %"});
    std::vector<DrawnPart> parts;
    for (const TextCue& cue : drawn.at(channel))
      parts.push_back({static_cast<double>(cue.first), static_cast<double>(cue.end)});
    const std::string lane = partsDrawing(parts, streams.frames, "Captions of " + channel);
    lanes.append(paragraph(channel)).append("<div class=\"lane\">").append(lane).append("</div>\n");
  }
  return section("Captions", table(rows) + lanes);
}

}  // namespace

std::string reportPage(const ReportFacts& facts, const Overview& overview) {
  const OverviewStreams streams = overview.progress().streams;
  std::string text =
      "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
      htmlText(facts.name) + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n<h1>" +
      htmlText(facts.name) + "</h1>\n";
  text += section("Description", list(facts.description));
  text += section("Tracks", list(facts.tracks));
  text += section("Not read",
                  facts.notRead.empty() ? paragraph("All of the file is read.") : list(facts.notRead));
  if (streams.frames != 0) {
    const FrameFigures figures = figuresOf(overview, streams);
    text += bitRateSection(overview, streams, figures) + keyFrameSection(streams, figures);
  }
  if (streams.channels != 0) text += waveFormSection(overview, streams) + faultSection(overview, streams);
  if (streams.frames != 0) text += captionSection(overview, streams);
  text += section("Verification", facts.verification
                                      ? list(*facts.verification)
                                      : paragraph("The file belongs to no recording of 'fmp4 package' "
                                                  "that could be verified."));
  return text + "</body>\n</html>\n";
}

}  // namespace fmp4
