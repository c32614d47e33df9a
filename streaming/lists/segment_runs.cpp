#include "streaming/lists/segment_runs.h"

#include <algorithm>
#include <optional>

#include "streaming/lists/attribute_text.h"
#include "streaming/lists/markup.h"

namespace fmp4 {

namespace {

// Takes `token` from the front of a text. Returns whether it is there.
bool take(std::string_view& text, std::string_view token) {
  if (!text.starts_with(token)) return false;
  text.remove_prefix(token.size());
  return true;
}

void skipWhiteSpace(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kXmlWhiteSpace), text.size()));
}

// Takes a quoted value; none if it has no end, or entities that a parser replaces.
std::optional<std::string_view> takeValue(std::string_view& text) {
  if (text.empty() || (text.front() != '"' && text.front() != '\'')) return std::nullopt;
  const std::size_t end = text.find(text.front(), 1);
  if (end == text.npos) return std::nullopt;
  const std::string_view value = text.substr(1, end - 1);
  text.remove_prefix(end + 1);
  return value.find('&') == value.npos ? std::optional(value) : std::nullopt;
}

// Takes an element that may belong to a run from the front of a text, which stays as it is if there is none.
// `indexRange` is empty if it states none.
bool takeElement(std::string_view& text, std::string_view& indexRange) {
  std::string_view rest = text;
  if (!take(rest, "<SegmentURL") || rest.find_first_of(" \t\r\n/") != 0) return false;
  std::optional<std::string_view> index, media;
  for (skipWhiteSpace(rest); !take(rest, "/>"); skipWhiteSpace(rest)) {
    const bool isIndex = take(rest, "indexRange=");
    if (!isIndex && !take(rest, "mediaRange=")) return false;
    std::optional<std::string_view>& range = isIndex ? index : media;
    if (range) return false;  // stated twice, which is not well-formed
    range = takeValue(rest);
    if (!range) return false;
  }
  text = rest;
  indexRange = index.value_or(std::string_view());
  return true;
}

}  // namespace

// Takes elements from the front of a text, as far as they go.
void SegmentRuns::takeElements(std::string_view& text) {
  std::string_view rest = text, indexRange;
  for (skipWhiteSpace(rest); takeElement(rest, indexRange); skipWhiteSpace(rest)) {
    if (const auto offset = startOfRange(indexRange)) offsets_.push_back(*offset);
    text = rest;
  }
}

std::string SegmentRuns::takeFrom(std::string_view manifest) {
  manifest = manifest.substr(0, manifest.find('\0'));  // where a parser ends
  std::string kept;
  int line = 1;
  const auto keep = [&kept, &line](std::string_view text) {
    kept += text;
    line += static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  };
  std::size_t done = 0, attributes = 0;
  for (std::size_t at = manifest.find('<'); at != manifest.npos; at = manifest.find('<', at)) {
    std::string_view rest = manifest.substr(at), indexRange;
    if (!takeElement(rest, indexRange)) {
      at = endOfMarkup(manifest, at, attributes);
      continue;
    }
    const std::size_t first = manifest.size() - rest.size(), start = offsets_.size();
    takeElements(rest);
    const std::size_t end = manifest.size() - rest.size();
    if (end != first) {
      keep(manifest.substr(done, at - done));
      keep("\n");
      runs_.push_back({line, start, offsets_.size()});
      keep(manifest.substr(at, first - at));
      keep("\n");
      done = end;
    }
    at = end;
  }
  keep(manifest.substr(done));
  return kept;
}

std::span<const std::uint64_t> SegmentRuns::after(int line) const {
  const auto run = std::lower_bound(runs_.begin(), runs_.end(), line,
                                    [](const Run& each, int wanted) { return each.line < wanted; });
  if (run == runs_.end() || run->line != line) return {};
  return std::span(offsets_).subspan(run->start, run->end - run->start);
}

}  // namespace fmp4
