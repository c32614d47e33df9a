#include "tool/source/video_captions.h"

#include <algorithm>
#include <utility>

#include "captions/sei_captions.h"
#include "tool/source/source_captions.h"

namespace fmp4 {

namespace {

// Frames by which display may follow decoding; H.264 reorders 16 at most. What claims more is not reordered.
constexpr std::int64_t kMaxReordering = 64;

// Pairs that wait at most; more than a second of them were not made for this rate.
constexpr std::size_t kMaxPairs = 60;

}  // namespace

void VideoCaptions::add(std::span<const std::uint8_t> sample, std::uint64_t frame, std::int64_t offset) {
  const std::vector<captions::CcConstruct> constructs =
      captions::constructsInAccessUnit(sample, lengthBytes_);
  if (constructs.empty()) return;
  found_ = true;
  const bool plausible = offset >= 0 && offset <= kMaxReordering;
  auto& displayed = pending_[frame + (plausible ? static_cast<std::uint64_t>(offset) : 0)];
  displayed.insert(displayed.end(), constructs.begin(), constructs.end());
}

void VideoCaptions::addTo(DFRAME& descriptor, std::uint64_t frame) {
  std::vector<captions::CcConstruct> constructs;
  if (const auto found = pending_.find(frame); found != pending_.end()) {
    constructs = std::move(found->second);
    pending_.erase(found);
  }
  for (const captions::CcConstruct& construct : constructs)
    if (construct.valid && construct.type == captions::CcType::Field1 &&
        !captions::isNullPair(construct.bytes) && pairs_.size() < kMaxPairs)
      pairs_.push_back(construct.bytes);
  if (!pairs_.empty()) {
    addPairTo(descriptor, pairs_.front());
    pairs_.pop_front();
  }
  constructs.resize(std::min(constructs.size(), captions::kMaxConstructs));
  if (!constructs.empty())
    addPacketTo(descriptor, captions::distributionPacket(constructs, framesPerSecond_, packets_++));
}

}  // namespace fmp4
