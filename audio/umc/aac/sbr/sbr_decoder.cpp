#include "audio/umc/aac/sbr/sbr_decoder.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "audio/umc/shared_object.h"

namespace UMC::aac {

struct SbrFilterBanks {
  IppsFilterSpec_SBR_32f* analysis = nullptr;
  IppsFilterSpec_SBR_32f* synthesis = nullptr;
  IppsFilterSpec_SBR_32f* synthesisDown = nullptr;
  std::vector<Ipp8u> memory[3];
};

namespace {

std::unique_ptr<const SbrFilterBanks> MakeFilterBanks() {
  try {
    auto banks = std::make_unique<SbrFilterBanks>();
    for (auto& memory : banks->memory) memory.resize(ippsFilterGetSize_SBR_32f());
    const bool made =
        ippsAnalysisFilterInit_SBR_RToC_32f32fc(&banks->analysis, banks->memory[0].data()) == ippStsNoErr &&
        ippsSynthesisFilterInit_SBR_CToR_32fc32f(&banks->synthesis, banks->memory[1].data()) == ippStsNoErr &&
        ippsSynthesisDownFilterInit_SBR_CToR_32fc32f(&banks->synthesisDown, banks->memory[2].data()) ==
            ippStsNoErr;
    if (!made || ippsFilterGetWorkSize_SBR_32f() > sizeof SbrScratch::work) return nullptr;
    return banks;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// Adopts a header. False if its bands exceed the limits.
bool AdoptHeader(const SbrHeader& header, std::uint32_t frequency, int channelCount, SbrElementState& element,
                 SbrChannelState* channels) {
  const bool hasNewBands = !element.headerKnown || !header.HasBandsOf(element.header);
  element.noisePhaseUnknown |= hasNewBands && element.started && !element.headerSeen;
  element.headerSeen = true;
  if (hasNewBands) {
    if (!MakeSbrFrequencyTables(header, frequency, element.tables)) return false;
    for (int i = 0; i < channelCount; ++i) {
      channels[i].envelope.known = false;
      channels[i].adjuster.gainsKnown = false;
      channels[i].adjuster.noiseIndex = 0;
    }
  } else if (header.limiterBands != element.header.limiterBands) {
    MakeSbrLimiterBands(header.limiterBands, element.tables);
  }
  element.header = header;
  element.headerKnown = true;
  return true;
}

// sbr_extension_data(). False if no header is known afterwards or the data are invalid.
bool ParseExtensionData(const SbrFormat& format, fmp4::BitWindow& stream, const SbrPayload& payload,
                        int channelCount, SbrElementState& element, SbrChannelState* channels,
                        SbrData& data) {
  if (!CheckSbrCrc(stream, payload)) return false;
  const std::size_t end = payload.position + payload.bits;
  if (stream.ReadFlag()) {
    const SbrHeader header = ParseSbrHeader(stream);
    if (stream.Position() > end ||
        !AdoptHeader(header, 2 * format.coreFrequency, channelCount, element, channels)) {
      return false;
    }
  }
  return element.headerKnown && ParseSbrData(stream, end, element.header, element.tables,
                                             format.coreFrameLength / 64, channelCount, data);
}

// Decodes the levels of the data. False for values out of range, or for differences from a frame that is not
// known.
bool DecodeLevels(int channelCount, const SbrFrequencyTables& tables, SbrChannelState* channels,
                  SbrScratch& scratch) {
  SbrData& data = scratch.data;
  for (int i = 0; i < channelCount; ++i) {
    SbrChannelData& channel = data.channels[i];
    if (DecodeSbrDifferences(tables, channel.grid, data.coupled && i == 1, channel.envelope,
                             channels[i].envelope)) {
      continue;
    }
    for (int j = 0; j < channelCount; ++j) SkipSbrBand(tables, data.channels[j].grid, channels[j].adjuster);
    return false;
  }
  if (data.coupled) {
    DequantiseCoupledSbr(tables, data.channels[0].grid, data.channels[0].envelope, data.channels[1].envelope,
                         scratch.levels[0], scratch.levels[1]);
  } else {
    for (int i = 0; i < channelCount; ++i) {
      DequantiseSbr(tables, data.channels[i].grid, data.channels[i].envelope, scratch.levels[i]);
    }
  }
  return true;
}

// A decoder that starts in mid-stream cannot know the phase of noise and sinusoids after earlier losses and
// damage. Derived from the block number, the phase is the same in every decoder, and in an undamaged stream
// it equals that of decoding from the start.
void SetNoisePhase(const SbrFormat& format, const SbrData& data, int channelCount, SbrElementState& element,
                   SbrChannelState* channels) {
  const auto slots = static_cast<std::uint64_t>(format.coreFrameLength / kIppsSbrAnalysisBands);
  for (int i = 0; i < channelCount; ++i) {
    SetSbrPhase(element.tables, format.block * slots + 2u * data.channels[i].grid.borders[0],
                channels[i].adjuster);
  }
  element.noisePhaseUnknown = false;
}

// Resets the high band before the next frame.
void ResetHighBand(SbrChannelState& channel) {
  channel.envelope.known = false;
  channel.adjuster.gainsKnown = false;
  channel.adjuster.endsInTransient = false;
  std::fill_n(channel.adjuster.sinusoids, kQmfBands, false);
}

// The subbands of a channel's frame: its slots and the kSbrAheadSlots that follow, in which only the core's
// subbands are valid.
using SbrFrame = Ipp32fc (*)[kQmfBands];

// The extent of a frame's high band.
struct BandRange {
  int kx, end;             // subbands
  int firstSlot, endSlot;  // output slots; the end may be past the frame's end
};

// Clears the subbands that belong neither to the core nor to the high band. The first slots were already
// generated by the last frame.
void JoinBands(const BandRange& range, int slots, const SbrChannelState& channel, SbrFrame frame) {
  for (int slot = 0; slot < slots; ++slot) {
    Ipp32fc* row = frame[slot];
    if (slot < channel.highSlots) {
      std::copy(channel.high[slot] + channel.kx, channel.high[slot] + kQmfBands, row + channel.kx);
    } else {
      std::fill(row + (slot < range.firstSlot ? range.kx : range.end), row + kQmfBands, Ipp32fc{});
    }
  }
}

// Keeps the slots with which the next frame starts.
void KeepBands(const BandRange& range, int slots, const Ipp32fc (*rows)[kQmfBands],
               SbrChannelState& channel) {
  for (int i = 0; i < kSbrOldSlots; ++i) {
    auto* low = channel.low[i];
    std::fill(std::copy_n(rows[slots + i], range.kx, low), low + kIppsSbrAnalysisBands, Ipp32fc{});
  }
  channel.kx = range.kx;
  channel.highSlots = std::max(range.endSlot - slots, 0);
  for (int i = 0; i < channel.highSlots; ++i) {
    const Ipp32fc* row = rows[kSbrAdjustSlots + slots + i];
    auto* high = channel.high[i];
    std::fill(std::copy(row + range.kx, row + range.end, high + range.kx), high + kQmfBands, Ipp32fc{});
  }
}

SbrFrame MakeSubbands(const SbrFormat& format, const SbrElementState& element, bool hasHighBand, int index,
                      const float* core, SbrChannelState& channel, SbrScratch& scratch) {
  const SbrFrequencyTables& tables = element.tables;
  const int slots = format.coreFrameLength / kIppsSbrAnalysisBands;
  auto* rows = scratch.rows;
  for (int i = 0; i < kSbrOldSlots; ++i) std::copy_n(channel.low[i], kIppsSbrAnalysisBands, rows[i]);
  ippsAnalysisFilter_SBR_RToC_32f32fc_D2L(core, static_cast<std::size_t>(slots), rows + kSbrOldSlots,
                                          &channel.analysis, SharedSbrFilterBanks()->analysis,
                                          reinterpret_cast<Ipp8u*>(scratch.work));

  BandRange range = {kIppsSbrAnalysisBands, kIppsSbrAnalysisBands, slots, slots};
  if (hasHighBand) {
    const SbrChannelData& data = scratch.data.channels[index];
    range = {tables.kx, tables.kx + tables.m, 2 * data.grid.borders[0],
             2 * data.grid.borders[data.grid.envelopes]};
    UpdateSbrChirp(data.inverseFiltering, tables.noise.count, channel.chirp);
    GenerateSbrBand(tables, channel.chirp, slots, range.firstSlot, range.endSlot, rows);
    AdjustSbrBand(element.header, tables, data, scratch.levels[index], channel.adjuster, rows);
  } else {
    ResetHighBand(channel);
  }
  const SbrFrame frame = rows + kSbrAdjustSlots;
  JoinBands(range, slots, channel, frame);
  KeepBands(range, slots, rows, channel);
  return frame;
}

void Synthesise(const SbrFormat& format, SbrFrame frame, SbrChannelState& channel, SbrScratch& scratch,
                float* output) {
  const SbrFilterBanks& banks = *SharedSbrFilterBanks();
  const auto slots = static_cast<std::size_t>(format.coreFrameLength / kIppsSbrAnalysisBands);
  auto* work = reinterpret_cast<Ipp8u*>(scratch.work);
  if (format.downSampled) {
    ippsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(frame, slots, output, &channel.synthesis,
                                                 banks.synthesisDown, work);
  } else {
    ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(frame, slots, output, &channel.synthesis, banks.synthesis, work);
  }
}

}  // namespace

const SbrFilterBanks* SharedSbrFilterBanks() {
  static SharedObject<SbrFilterBanks> shared;
  return shared.Get(MakeFilterBanks);
}

void ResetSbr(SbrArea& sbr) {
  for (SbrElementState& element : sbr.elements) element.started = element.noisePhaseUnknown = false;
  std::fill_n(sbr.channels, kMaxChannels, SbrChannelState{});
  std::fill_n(sbr.couplings, kMaxCouplings, SbrChannelState{});
  sbr.psData = {};
  sbr.ps = {};
  sbr.completeBlocks = 0;
}

void InvalidateSbrHeaders(SbrArea& sbr) {
  for (SbrElementState& element : sbr.elements) element.headerSeen = false;
}

void ForgetSbrHeaders(SbrArea& sbr) {
  for (SbrElementState& element : sbr.elements) element.headerKnown = element.headerSeen = false;
}

bool IsSbrComplete(const SbrElementState& element, std::uint32_t bits, bool hasHighBand) {
  if (element.noisePhaseUnknown) return false;
  return bits == 0 ? element.headerSeen || !element.headerKnown : element.headerSeen && hasHighBand;
}

bool ReadSbrPayload(const SbrFormat& format, fmp4::BitWindow& stream, const SbrPayload& payload,
                    int channelCount, SbrElementState& element, SbrChannelState* channels,
                    SbrScratch& scratch) {
  SbrData& data = scratch.data;
  bool parsed = false;
  if (payload.bits > 0) {
    parsed = ParseExtensionData(format, stream, payload, channelCount, element, channels, data);
    element.headerKnown &= parsed;
  }
  if (parsed && !element.started) {
    for (int i = 0; i < channelCount; ++i) element.noisePhaseUnknown |= data.channels[i].grid.borders[0] != 0;
  }
  element.started = true;
  if (parsed && format.numbered) SetNoisePhase(format, data, channelCount, element, channels);
  return parsed && DecodeLevels(channelCount, element.tables, channels, scratch);
}

bool StartsSbr(const SbrFormat& format, fmp4::BitWindow& stream, const SbrPayload& payload, int channelCount,
               SbrScratch& scratch) {
  SbrElementState element{};
  SbrChannelState channels[2] = {};
  return ReadSbrPayload(format, stream, payload, channelCount, element, channels, scratch);
}

void DecodeSbrChannel(const SbrFormat& format, const SbrElementState& element, bool hasHighBand, int index,
                      const float* core, SbrChannelState& channel, SbrScratch& scratch, float* output) {
  const SbrFrame frame = MakeSubbands(format, element, hasHighBand, index, core, channel, scratch);
  Synthesise(format, frame, channel, scratch, output);
}

void DecodeSbrStereo(const SbrFormat& format, const SbrElementState& element, bool hasHighBand,
                     const float* core, const PsData& psData, PsState& ps, SbrChannelState* channels,
                     SbrScratch& scratch, float* left, float* right) {
  static_assert(kSbrAheadSlots == kPsLookAhead);
  const SbrFrame frame = MakeSubbands(format, element, hasHighBand, 0, core, channels[0], scratch);
  const int slots = format.coreFrameLength / kIppsSbrAnalysisBands;
  ApplyParametricStereo(psData, ps, scratch.ps, slots, frame, scratch.right);
  Synthesise(format, frame, channels[0], scratch, left);
  Synthesise(format, scratch.right, channels[1], scratch, right);
}

}  // namespace UMC::aac
