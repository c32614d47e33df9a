#include "streaming/index/run_placement.h"

#include "mp4box/box_type.h"

namespace fmp4 {

namespace {

using Header = mp4::TrackFragmentHeaderBox;

// A file offset plus a signed distance; all ones if the result would be negative.
std::uint64_t moved(std::uint64_t base, std::int32_t distance) {
  if (distance >= 0) return addSaturated(base, static_cast<std::uint64_t>(distance));
  const auto back = static_cast<std::uint64_t>(-static_cast<std::int64_t>(distance));
  return base >= back ? base - back : ~std::uint64_t{0};
}

// Computes the offsets of the runs of one movie fragment, in file order.
class RunPlacer {
 public:
  explicit RunPlacer(const LoadedFragment& loaded) : loaded_(loaded) {}

  // Starts a track fragment: the following runs belong to that of `tfhd`.
  void begin(const Header& tfhd) {
    if (tfhd.flags & Header::kBaseDataOffset) {
      dataEnd_ = tfhd.baseDataOffset;
      hasData_ = true;
    }
    // Without an explicit base it is the end of the preceding data, or the `moof` if there are none.
    fromMoof_ = (tfhd.flags & Header::kBaseDataOffset) == 0 &&
                ((tfhd.flags & Header::kDefaultBaseIsMoof) != 0 || !hasData_);
    base_ = dataEnd_;
  }

  // Returns the file offset of `run`.
  std::uint64_t place(const mp4::TrackRunBox& run, const SampleDefaults& defaults) {
    const std::uint64_t start = run.hasDataOffset() ? offsetFromBase(run.dataOffset)
                                : hasData_          ? dataEnd_
                                                    : loaded_.mediaDataStart;
    dataEnd_ = addSaturated(start, sizeOfSamples(run, run.sampleCount, defaults));
    hasData_ = true;
    return start;
  }

 private:
  // Intended (quirk 15): an offset from the `moof` that does not reach past it is relative to the box that
  // follows it.
  std::uint64_t offsetFromBase(std::int32_t offset) const {
    if (!fromMoof_) return moved(base_, offset);
    const bool past = offset > 0 && static_cast<std::uint64_t>(offset) > loaded_.moof->size;
    return moved(past ? loaded_.moof->position : loaded_.moof->end(), offset);
  }

  const LoadedFragment& loaded_;
  bool fromMoof_ = true;       // whether data offsets are relative to the `moof`
  std::uint64_t base_ = 0;     // otherwise the base that they are relative to, file offset
  bool hasData_ = false;       // whether the end of the preceding data is known
  std::uint64_t dataEnd_ = 0;  // file offset, end of the preceding data
};

// Whether the position of the data depends on the preceding track fragments.
bool followsOn(const TrackFragment& fragment) {
  if (fragment.tfhd->flags & Header::kBaseDataOffset) return false;
  if (!(fragment.tfhd->flags & Header::kDefaultBaseIsMoof)) return true;
  return !fragment.truns.empty() && !fragment.truns.front()->hasDataOffset();
}

// Places the runs of all track fragments before `fragment`, of whatever track.
void placePrecedingRuns(FragmentIndex& index, const LoadedFragment& loaded, const TrackFragment& fragment,
                        RunPlacer& placer) {
  for (Mp4Box* traf = loaded.moof->first; traf != fragment.traf; traf = traf->next) {
    const auto* tfhd =
        traf->type == box_type::kTraf ? Mp4PayloadOf<Header>(Mp4BoxChild(traf, box_type::kTfhd)) : nullptr;
    if (!tfhd) continue;
    placer.begin(*tfhd);
    const SampleDefaults defaults(tfhd, index.trackDefaults(tfhd->trackId));
    for (const Mp4Box* child = traf->first; child; child = child->next) {
      if (const auto* run = trackRun(child)) placer.place(*run, defaults);
    }
  }
}

}  // namespace

std::vector<std::uint64_t> placeRuns(FragmentIndex& index, const LoadedFragment& loaded,
                                     const TrackFragment& fragment, const SampleDefaults& defaults) {
  std::vector<std::uint64_t> starts;
  if (!fragment.tfhd) return starts;
  RunPlacer placer(loaded);
  if (followsOn(fragment)) placePrecedingRuns(index, loaded, fragment, placer);
  placer.begin(*fragment.tfhd);
  starts.reserve(fragment.truns.size());
  for (const mp4::TrackRunBox* run : fragment.truns) starts.push_back(placer.place(*run, defaults));
  return starts;
}

}  // namespace fmp4
