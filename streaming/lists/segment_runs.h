// The elements of segment lists, taken out of a manifest before it is parsed: a day has 86,400 of them for
// each track, and opening needs one number of each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fmp4 {

// The runs of a manifest: "SegmentURL" elements, one after another, that state byte ranges and nothing else.
// The first of a run stays in the text, on a line of its own, whose number leads to the others.
class SegmentRuns {
 public:
  // Takes the runs out of a manifest; to be called once. Returns the rest, which a parser accepts if it
  // accepts the manifest, as a document without these elements.
  std::string takeFrom(std::string_view manifest);

  // The offsets at which the index ranges of the elements start that were taken out after the one on a line
  // of the rest, from 1, in order. Those without a valid index range have none.
  std::span<const std::uint64_t> after(int line) const;

 private:
  struct Run {
    int line;
    std::size_t start, end;  // in offsets_
  };

  void takeElements(std::string_view& text);

  std::vector<Run> runs_;  // by line
  std::vector<std::uint64_t> offsets_;
};

}  // namespace fmp4
