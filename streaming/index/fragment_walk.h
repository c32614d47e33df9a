// Walks a movie fragment where its bytes lie, without a tree.
#pragma once

#include <cstdint>
#include <span>

#include "mp4box/box.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/field_reader.h"
#include "streaming/index/box_walk.h"
#include "streaming/index/run_bytes.h"

namespace fmp4 {

// Reads the fields of a payload from its bytes.
template <class Payload>
Payload readPayload(std::span<const std::uint8_t> bytes) {
  Payload payload;
  Mp4FieldReader reader(bytes);
  payload.fields(reader);
  return payload;
}

// A track fragment where its bytes lie.
struct TrackFragmentBytes {
  mp4::TrackFragmentHeaderBox header;
  bool headerLast = false;                // whether the header is the last box
  std::span<const std::uint8_t> content;  // all boxes

  // Calls `each(RunBytes)` for its runs, in file order.
  template <class Each>
  void forEachRun(Each each) const {
    BoxWalk children(content);
    while (children.next() == BoxWalk::Step::Box) {
      if (children.type() == box_type::kTrun) each(RunBytes(children.payload()));
    }
  }
};

// Walks one fragment, and passes what it contains to a visitor with two functions:
//   header(payload)  the bytes of each "mfhd"
//   track(fragment)  each TrackFragmentBytes that has a header
template <class Visitor>
class FragmentWalk {
 public:
  explicit FragmentWalk(Visitor& visitor) : visitor_(visitor) {}

  // Returns false for a fragment that is not laid out regularly: one whose boxes do not fill their parents
  // exactly, or that contains boxes that writers do not put there. What the visitor got is then worth
  // nothing; only the fragment's tree tells what it contains.
  [[nodiscard]] bool walk(std::span<const std::uint8_t> moof) {
    BoxWalk top(moof);
    if (top.next() != BoxWalk::Step::Box || top.type() != box_type::kMoof ||
        top.payload().size() + 8 != moof.size())
      return false;
    BoxWalk children(content(top));
    BoxWalk::Step step;
    while ((step = children.next()) == BoxWalk::Step::Box) {
      const bool isTrack = children.type() == box_type::kTraf;
      if (!countBox() || !(isTrack ? trackFragment(content(children)) : otherBox(children))) return false;
      if (children.type() == box_type::kMfhd) visitor_.header(children.payload());
    }
    return step == BoxWalk::Step::End;
  }

 private:
  // The children of a container. One with room for a single empty box only has none.
  static std::span<const std::uint8_t> content(const BoxWalk& container) {
    return container.payload().size() > 8 ? container.payload() : std::span<const std::uint8_t>{};
  }

  // A tree of more boxes may reach its limit.
  bool countBox() {
    constexpr std::uint32_t kMaxBoxes = 100'000;
    return ++boxes_ <= kMaxBoxes;
  }

  // Whether a box between those that are counted changes nothing: one without children that is always read.
  static bool otherBox(const BoxWalk& box) {
    if (box.type() == box_type::kMfhd || box.type() == box_type::kTfhd || box.type() == box_type::kTfdt)
      return true;
    const Mp4BoxReader reader = Mp4FindBoxType(box.type()).reader;
    return reader == Mp4ReadLeaf || reader == Mp4ReadUnknown || reader == Mp4ReadMediaData;
  }

  bool trackFragment(std::span<const std::uint8_t> traf) {
    TrackFragmentBytes fragment;
    fragment.content = traf;
    std::span<const std::uint8_t> header;
    std::uint32_t headers = 0;
    BoxWalk children(traf);
    BoxWalk::Step step;
    while ((step = children.next()) == BoxWalk::Step::Box) {
      const bool isRun = children.type() == box_type::kTrun;
      if (!countBox() || (!isRun && !otherBox(children))) return false;
      fragment.headerLast = children.type() == box_type::kTfhd;
      if (!fragment.headerLast) continue;
      header = children.payload();
      ++headers;
    }
    if (step != BoxWalk::Step::End || headers > 1) return false;
    if (headers == 0) return true;
    fragment.header = readPayload<mp4::TrackFragmentHeaderBox>(header);
    visitor_.track(fragment);
    return true;
  }

  Visitor& visitor_;
  std::uint32_t boxes_ = 0;
};

}  // namespace fmp4
