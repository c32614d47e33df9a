#include "audio/umc/ac3/audio_block.h"

#include <algorithm>

#include "audio/umc/ac3/exponents.h"
#include "audio/umc/ac3/mantissas.h"

namespace UMC::ac3 {

namespace {

constexpr int kHighestBandwidthCode = 60;

// Calls visit(index) for the full bandwidth channels and the LFE channel until it returns false.
template <class Visit>
bool ForEachChannel(const BitStreamInformation& info, Visit visit) {
  for (int i = 0; i < info.FullChannels(); ++i) {
    if (!visit(i)) return false;
  }
  return !info.lfe || visit(kLfe);
}

// The same, starting with the coupling channel if it is in use.
template <class Visit>
bool ForEachCoded(const BitStreamInformation& info, const AudioBlock& block, Visit visit) {
  if (block.coupling.inUse && !visit(kCoupling)) return false;
  return ForEachChannel(info, visit);
}

void MarkAllStale(AudioBlock& block) {
  for (CodedChannel& channel : block.channels) channel.allocationStale = true;
}

class SideInformation {
 public:
  SideInformation(fmp4::BitWindow& stream, const BitStreamInformation& info, AudioBlock& block)
      : m_stream(stream), m_info(info), m_block(block) {}

  bool Parse() {
    const int channels = m_info.FullChannels();
    for (int i = 0; i < channels; ++i) m_block.blockSwitch[i] = m_stream.ReadFlag();
    for (int i = 0; i < channels; ++i) m_block.dither[i] = m_stream.ReadFlag();
    for (int i = 0; i < (m_info.mode == kDualMono ? 2 : 1); ++i) {
      if (m_stream.ReadFlag()) m_block.dynamicRange[i] = static_cast<std::uint8_t>(m_stream.Read(8));
    }
    if (!ParseCoupling()) return false;
    if (m_info.mode == kStereo && !ParseRematrixing(m_stream, m_block.coupling, m_block.rematrixing)) {
      return false;
    }
    if (!ParseAllExponents() || !ParseAllocation() || !ParseDelta()) return false;
    if (m_stream.ReadFlag()) {  // skiple
      const std::size_t bytes = m_stream.Read(9);
      m_stream.Seek(m_stream.Position() + 8 * bytes);
    }
    return true;
  }

 private:
  bool ParseCoupling() {
    if (m_stream.ReadFlag()) {  // cplstre
      m_block.couplingKnown = true;
      if (!ParseCouplingStrategy(m_stream, m_info, m_block.coupling)) return false;
      if (!m_block.coupling.inUse) {
        m_block.coordinates = {};
        m_block.couplingLeakKnown = false;
      }
    }
    if (!m_block.couplingKnown) return false;
    return !m_block.coupling.inUse ||
           ParseCouplingCoordinates(m_stream, m_info, m_block.coupling, m_block.coordinates);
  }

  bool ParseAllExponents() {
    ExponentStrategy strategies[kCodedChannels] = {};
    ForEachCoded(m_info, m_block, [&](int i) {
      strategies[i] = static_cast<ExponentStrategy>(m_stream.Read(i == kLfe ? 1 : 2));
      return true;
    });
    int bandwidthEnds[kMaxFullChannels] = {};
    for (int i = 0; i < m_info.FullChannels(); ++i) {
      if (m_block.coupling.coupled[i] || strategies[i] == ExponentStrategy::kReuse) continue;
      const auto code = static_cast<int>(m_stream.Read(6));  // chbwcod
      if (code > kHighestBandwidthCode) return false;
      bandwidthEnds[i] = 73 + 3 * code;
    }
    return ForEachCoded(m_info, m_block, [&](int i) {
      CodedChannel& channel = m_block.channels[i];
      int start = 0, end = channel.exponentEnd;
      if (i == kCoupling) {
        start = m_block.coupling.Start();
        end = m_block.coupling.End();
      } else if (i == kLfe) {
        end = kLfeEnd;
      } else if (m_block.coupling.coupled[i]) {
        end = m_block.coupling.Start();
      } else if (strategies[i] != ExponentStrategy::kReuse) {
        end = bandwidthEnds[i];
      }
      return ParseExponentsOf(i, strategies[i], start, end);
    });
  }

  bool ParseExponentsOf(int index, ExponentStrategy strategy, int start, int end) {
    CodedChannel& channel = m_block.channels[index];
    if (start != channel.start || end != channel.end) channel.allocationStale = true;
    channel.start = static_cast<std::int16_t>(start);
    channel.end = static_cast<std::int16_t>(end);
    if (strategy == ExponentStrategy::kReuse) {
      return end > start && channel.exponentStart <= start && end <= channel.exponentEnd;
    }
    channel.exponentStart = channel.start;
    channel.exponentEnd = channel.end;
    channel.allocationStale = true;
    if (index == kCoupling) return ParseCouplingExponents(m_stream, strategy, start, end, channel.exponents);
    if (!ParseExponents(m_stream, strategy, end, channel.exponents)) return false;
    if (index != kLfe) m_stream.Read(2);  // gainrng
    return true;
  }

  bool ParseAllocation() {
    SharedAllocation& shared = m_block.allocation;
    const auto read = [&](unsigned bits) { return static_cast<std::uint8_t>(m_stream.Read(bits)); };
    if (m_stream.ReadFlag()) {  // baie
      m_block.allocationKnown = true;
      shared.slowDecay = read(2);
      shared.fastDecay = read(2);
      shared.slowGain = read(2);
      shared.dbPerBit = read(2);
      shared.floor = read(3);
      MarkAllStale(m_block);
    }
    if (m_stream.ReadFlag()) {  // snroffste
      m_block.snrOffsetsKnown = true;
      shared.coarseSnrOffset = read(6);
      ForEachCoded(m_info, m_block, [&](int i) {
        ChannelAllocation& own = m_block.channels[i].allocation;
        own.fineSnrOffset = read(4);
        own.fastGain = read(3);
        return true;
      });
      MarkAllStale(m_block);
    }
    if (m_block.coupling.inUse && m_stream.ReadFlag()) {  // cplleake
      m_block.couplingLeakKnown = true;
      shared.couplingFastLeak = read(3);
      shared.couplingSlowLeak = read(3);
      m_block.channels[kCoupling].allocationStale = true;
    }
    return m_block.allocationKnown && m_block.snrOffsetsKnown &&
           (m_block.couplingLeakKnown || !m_block.coupling.inUse);
  }

  bool ParseDelta() {
    enum { kReuse, kNew, kNone, kReserved };  // cpldeltbae, deltbae
    if (!m_stream.ReadFlag()) return true;    // deltbaie
    const auto forEach = [&](auto visit) {
      for (int i = m_block.coupling.inUse ? -1 : 0; i < m_info.FullChannels(); ++i) {
        if (!visit(i < 0 ? kCoupling : i)) return false;
      }
      return true;
    };
    std::uint32_t actions[kCodedChannels] = {};
    forEach([&](int i) {
      actions[i] = m_stream.Read(2);
      return true;
    });
    return forEach([&](int i) {
      CodedChannel& channel = m_block.channels[i];
      if (actions[i] == kReserved) return false;
      if (actions[i] == kNew) channel.allocation.delta = ParseDeltaSegments(m_stream);
      channel.allocation.hasDelta = actions[i] != kNone;
      channel.allocationStale = true;
      return true;
    });
  }

  fmp4::BitWindow& m_stream;
  const BitStreamInformation& m_info;
  AudioBlock& m_block;
};

// If all offsets are zero, there are no mantissas (ATSC A/52, 7.2.2.7).
bool HasNoBits(const BitStreamInformation& info, const AudioBlock& block) {
  return block.allocation.coarseSnrOffset == 0 &&
         ForEachCoded(info, block, [&](int i) { return block.channels[i].allocation.fineSnrOffset == 0; });
}

// Makes the coefficients of the channel's bins, with noise where there are no bits.
void MakeCoefficients(const CodedChannel& channel, const float* mantissas, bool dithered,
                      DitherGenerator& generator, float* coefficients) {
  const auto start = static_cast<std::size_t>(channel.start);
  const std::size_t count = static_cast<std::size_t>(channel.end) - start;
  ApplyExponents(mantissas + start, channel.exponents + start, channel.pointers + start,
                 dithered ? generator.Take(count) : NoiseSource{}, coefficients + start, count);
}

AllocationKind KindOf(int channel) {
  if (channel == kCoupling) return AllocationKind::kCoupling;
  return channel == kLfe ? AllocationKind::kLfe : AllocationKind::kFull;
}

}  // namespace

void BeginFrame(AudioBlock& block) {
  std::fill_n(block.dynamicRange, 2, std::uint8_t{0});
  block.coupling = {};
  block.coordinates = {};
  block.rematrixing = {};
  block.allocation = {};
  block.couplingKnown = block.allocationKnown = block.snrOffsetsKnown = block.couplingLeakKnown = false;
  block.noBits = false;
  for (CodedChannel& channel : block.channels) {
    channel.start = channel.end = channel.exponentStart = channel.exponentEnd = 0;
    channel.allocation = {};
    channel.allocationStale = true;
  }
}

bool ParseSideInformation(fmp4::BitWindow& stream, const BitStreamInformation& info, AudioBlock& block) {
  return SideInformation(stream, info, block).Parse();
}

bool AllocateBlock(const SyncInfo& sync, const BitStreamInformation& info, AudioBlock& block) {
  const bool noBits = HasNoBits(info, block);
  // A change in one channel's offset affects all channels, as does the start or end of coupling.
  if (noBits != block.noBits) MarkAllStale(block);
  block.noBits = noBits;
  return ForEachCoded(info, block, [&](int i) {
    CodedChannel& channel = block.channels[i];
    if (!channel.allocationStale) return true;
    channel.allocationStale = false;
    if (noBits) {
      std::fill(channel.pointers + channel.start, channel.pointers + channel.end, std::uint8_t{0});
    } else if (!AllocateBits(KindOf(i), channel.start, channel.end, channel.exponents, block.allocation,
                             channel.allocation, sync.frequencyCode, sync.rateShift, channel.pointers)) {
      return false;
    }
    SortMantissas(channel);
    return true;
  });
}

bool ParseCoefficients(fmp4::BitWindow& stream, const BitStreamInformation& info, AudioBlock& block,
                       DitherGenerator& generator) {
  MantissaReader reader(stream);
  float mantissas[kBins] = {}, couplingMantissas[kBins] = {};
  bool couplingRead = false;
  const bool valid = ForEachChannel(info, [&](int i) {
    CodedChannel& channel = block.channels[i];
    if (!reader.Read(channel, mantissas)) return false;
    const bool dithered = i != kLfe && block.dither[i];
    MakeCoefficients(channel, mantissas, dithered, generator, channel.coefficients);
    std::fill(channel.coefficients + channel.end, channel.coefficients + kBins, 0.0f);
    if (couplingRead || i == kLfe || !block.coupling.coupled[i]) return true;
    couplingRead = true;
    return reader.Read(block.channels[kCoupling], couplingMantissas);
  });
  if (!valid) return false;
  for (int i = 0; i < info.FullChannels(); ++i) {
    if (!block.coupling.coupled[i]) continue;
    float* coefficients = block.channels[i].coefficients;
    MakeCoefficients(block.channels[kCoupling], couplingMantissas, block.dither[i], generator, coefficients);
    Uncouple(block.coupling, block.coordinates, i, coefficients);
  }
  if (info.mode == kStereo) {
    const int end = std::min(block.channels[0].end, block.channels[1].end);
    ApplyRematrixing(block.rematrixing, end, block.channels[0].coefficients, block.channels[1].coefficients);
  }
  return true;
}

}  // namespace UMC::ac3
