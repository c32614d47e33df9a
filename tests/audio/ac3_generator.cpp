#include "tests/audio/ac3_generator.h"

#include <algorithm>
#include <array>

#include "audio/umc/ac3/bit_allocation_tables.h"
#include "tests/audio/ac3_checksums.h"

namespace fmp4 {

using namespace UMC::ac3;

namespace {
using Bytes = std::vector<std::uint8_t>;
}

void Ac3Generator::Note(const std::string& what) {
  if (std::find(m_seen.begin(), m_seen.end(), what) == m_seen.end()) m_seen.push_back(what);
}

Bytes Ac3Generator::NextFrame() {
  const std::vector<std::string> seen = m_seen;
  for (m_percent = 100; !WriteFrame(); m_percent = m_percent * 4 / 5) m_seen = seen;
  m_preRoll = false;
  Bytes frame = m_bits.Bytes();
  frame.resize(m_sync.bytes);
  SetAc3Checksums(frame.data(), frame.size());
  return frame;
}

bool Ac3Generator::WriteFrame() {
  m_bits = {};
  m_channels = kFullChannels[m_options.mode];
  WriteHeader();
  ParseSyncInfo(m_bits.Bytes().data(), m_sync);
  BeginFrame(m_block);
  for (int i = 0; i < kBlocks; ++i) WriteBlock(i == 0);
  // After the blocks: auxdatae, crcrsv, crc2.
  return m_bits.Bits() + 18 <= 8 * m_sync.bytes;
}

void Ac3Generator::WriteHeader() {
  Write(0x0B77, 16);
  Write(0, 16);  // crc1
  Write(m_options.frequencyCode, 2);
  Write(m_options.sizeCode, 6);
  Write(m_options.version, 5);
  Write(m_options.serviceType, 3);
  Write(m_options.mode, 3);
  if ((m_options.mode & 1) != 0 && m_options.mode != 1) Write(1, 2);  // cmixlev
  if ((m_options.mode & 4) != 0) Write(1, 2);                         // surmixlev
  if (m_options.mode == kStereo) Write(m_options.surroundMode, 2);
  Write(m_options.lfe ? 1 : 0, 1);
  WriteProgramme();
  if (m_options.mode == kDualMono) WriteProgramme();
  Write(0, 2);  // copyrightb, origbs
  // Time codes; in version 6 they would be something else.
  if (Flag(m_options.version == 6 ? 0 : 30)) Draw(0, 0x3FFF, 14);
  if (Flag(m_options.version == 6 ? 0 : 30)) Draw(0, 0x3FFF, 14);
  if (Flag(20)) {
    const int more = Draw(0, 5, 6);  // addbsil
    for (int i = 0; i <= more; ++i) Draw(0, 255, 8);
    Note("additional information");
  }
}

void Ac3Generator::WriteProgramme() {
  const int lowest = m_options.dialogueLevel != 0 ? m_options.dialogueLevel : 1;
  Draw(lowest, m_options.dialogueLevel != 0 ? lowest : 31, 5);  // dialnorm
  if (Flag(30)) Draw(0, 255, 8);                                // compr
  if (Flag(30)) Draw(0, 255, 8);                                // langcod
  if (Flag(30)) Draw(0, 0x7F, 7);                               // mixlevel, roomtyp
}

std::vector<int> Ac3Generator::Coded() const {
  std::vector<int> coded;
  if (m_block.coupling.inUse) coded.push_back(kCoupling);
  for (int i = 0; i < m_channels; ++i) coded.push_back(i);
  if (m_options.lfe) coded.push_back(kLfe);
  return coded;
}

void Ac3Generator::WriteBlock(bool first) {
  const bool anySwitch = m_options.blockSwitch && Chance(50);
  for (int i = 0; i < m_channels; ++i) {
    m_block.blockSwitch[i] = Flag(anySwitch ? 40 : 0, m_preRoll && i == 0);
    if (m_block.blockSwitch[i]) Note("block switch");
  }
  for (int i = 0; i < m_channels; ++i) Write(m_options.dither ? 1 : 0, 1);
  for (int i = 0; i < (m_options.mode == kDualMono ? 2 : 1); ++i) {
    // Down to -12 dB, and only slightly louder.
    if (Flag(m_options.dynamicRange ? 30 : 0)) Write(Chance(50) ? Random(0xC0, 0xFF) : Random(0, 8), 8);
  }
  WriteCoupling(first);
  if (m_options.mode == kStereo) WriteRematrixing(first || m_newStrategy);
  WriteExponentSection(first || m_newStrategy);
  WriteAllocation(first);
  WriteDelta(first);
  if (Flag(10)) {
    const int skipped = Draw(0, 6, 9);
    for (int i = 0; i < skipped; ++i) Draw(0, 255, 8);
    Note("skipped bytes");
  }
  std::fill(std::begin(m_left), std::end(m_left), 0);
  for (const int i : Coded()) Allocate(i);
  bool couplingWritten = false;
  for (const int i : Coded()) {
    if (i == kCoupling) continue;
    WriteMantissas(i);
    if (couplingWritten || i == kLfe || !m_block.coupling.coupled[i]) continue;
    WriteMantissas(kCoupling);
    couplingWritten = true;
  }
}

void Ac3Generator::WriteCoupling(bool first) {
  m_newStrategy = Flag(25 * m_percent / 100, first);  // cplstre
  if (m_newStrategy) WriteCouplingStrategy();
  if (m_block.coupling.inUse) WriteCouplingCoordinates();
}

void Ac3Generator::WriteCouplingStrategy() {
  CouplingStrategy& coupling = m_block.coupling;
  const bool wasInUse = coupling.inUse;
  coupling = {};
  m_block.channels[kCoupling].allocation.delta = {};
  coupling.inUse = Flag(m_options.coupling && m_options.mode >= kStereo ? 70 : 0);
  if (!coupling.inUse) {
    if (wasInUse) Note("coupling ends");
    return;
  }
  const int alone = Random(0, m_channels - 1);
  for (int i = 0; i < m_channels; ++i)
    coupling.coupled[i] = Flag(60, i == alone || i == (alone + 1) % m_channels);
  if (m_options.mode == kStereo) coupling.phaseFlagsInUse = Flag(m_options.phaseFlags ? 60 : 0);
  const int begin = Draw(0, 15, 4);
  const int end = Draw(std::max(begin - 2, 0), 15, 4) + 3;
  coupling.beginCode = static_cast<std::uint8_t>(begin);
  const auto bin = [](int subBand) {
    return static_cast<std::uint16_t>(kCouplingOrigin + kSubBandBins * subBand);
  };
  for (int i = begin; i < end; ++i) {
    if (i != begin && Flag(50)) continue;
    coupling.bandOffsets[coupling.bandCount++] = bin(i);
  }
  coupling.bandOffsets[coupling.bandCount] = bin(end);
  Note("coupling from " + std::to_string(begin));
  if (coupling.bandCount < end - begin) Note("joined sub-bands");
  if (begin > end - 3) Note("end code below begin code");
}

void Ac3Generator::WriteCouplingCoordinates() {
  bool any = false;
  for (int i = 0; i < m_channels; ++i) {
    if (!m_block.coupling.coupled[i]) continue;
    if (!Flag(40, m_newStrategy)) {
      Note("coordinates reused");
      continue;
    }
    any = true;
    Write(0, 2);  // mstrcplco
    for (int band = 0; band < m_block.coupling.bandCount; ++band) {
      Draw(2, Chance(10) ? 15 : 6, 4);  // cplcoexp
      Draw(0, 15, 4);                   // cplcomant
    }
  }
  if (!m_block.coupling.phaseFlagsInUse || !any) return;
  for (int band = 0; band < m_block.coupling.bandCount; ++band) {
    if (Flag(50)) Note("phase flag");
  }
}

void Ac3Generator::WriteRematrixing(bool forced) {
  if (!Flag(30, forced)) return;
  const CouplingStrategy& coupling = m_block.coupling;
  const int bands = !coupling.inUse || coupling.beginCode > 2 ? 4 : coupling.beginCode == 0 ? 2 : 3;
  for (int band = 0; band < bands; ++band) Flag(50);
  Note("rematrixing of " + std::to_string(bands));
}

void Ac3Generator::WriteExponentSection(bool forced) {
  int strategies[kCodedChannels] = {};
  for (const int i : Coded()) {
    const bool fresh = forced || Chance(50 * m_percent / 100);
    // The finer, the longer.
    strategies[i] = !fresh ? 0 : i == kLfe ? 1 : Chance(m_percent - 20) ? Random(1, 3) : 3;
    Write(strategies[i], i == kLfe ? 1 : 2);
    Note("strategy " + std::to_string(strategies[i]));
  }
  for (const int i : Coded()) {
    CodedChannel& channel = m_block.channels[i];
    channel.start = static_cast<std::int16_t>(i == kCoupling ? m_block.coupling.Start() : 0);
    if (i == kCoupling) {
      channel.end = static_cast<std::int16_t>(m_block.coupling.End());
    } else if (i == kLfe) {
      channel.end = kLfeEnd;
    } else if (m_block.coupling.coupled[i]) {
      channel.end = static_cast<std::int16_t>(m_block.coupling.Start());
    } else if (strategies[i] != 0) {
      channel.end = static_cast<std::int16_t>(73 + 3 * Draw(0, 60 * m_percent / 100, 6));  // chbwcod
    }
  }
  for (const int i : Coded()) {
    if (strategies[i] != 0) WriteExponents(i, strategies[i]);
  }
}

void Ac3Generator::WriteExponents(int index, int strategy) {
  CodedChannel& channel = m_block.channels[index];
  const int bins = 1 << (strategy - 1);
  if (index == kCoupling) {
    const int reference = Draw(m_options.lowestExponent / 2 + 1, 10, 4) * 2;
    const int groups = (channel.end - channel.start) / (3 * bins);
    WriteExponentGroups(channel.start, reference, groups, bins, channel.exponents);
    return;
  }
  channel.exponents[0] = static_cast<std::uint8_t>(Draw(m_options.lowestExponent, 15, 4));
  const int groups = (channel.end - 1 + 3 * bins - 3) / (3 * bins);
  WriteExponentGroups(1, channel.exponents[0], groups, bins, channel.exponents);
  if (index != kLfe) Draw(0, 3, 2);  // gainrng
}

void Ac3Generator::WriteExponentGroups(int start, int exponent, int groups, int bins,
                                       std::uint8_t* exponents) {
  std::uint8_t* out = exponents + start;
  for (int i = 0; i < groups; ++i) {
    int code = 0;
    for (int j = 0; j < 3; ++j) {
      const int lowest = std::max(-2, m_options.lowestExponent - exponent),
                highest = std::min(2, 24 - exponent);
      const int difference = Chance(30) ? std::clamp(0, lowest, highest) : Random(lowest, highest);
      exponent += difference;
      code = 5 * code + difference + 2;
      out = std::fill_n(out, bins, static_cast<std::uint8_t>(exponent));
    }
    Write(code, 7);
  }
}

void Ac3Generator::WriteAllocation(bool first) {
  SharedAllocation& shared = m_block.allocation;
  const auto draw = [&](int low, int high, unsigned bits) {
    return static_cast<std::uint8_t>(Draw(low, high, bits));
  };
  if (Flag(30, first)) {  // baie
    shared.slowDecay = draw(0, 3, 2);
    shared.fastDecay = draw(0, 3, 2);
    shared.slowGain = draw(0, 3, 2);
    shared.dbPerBit = draw(0, 3, 2);
    shared.floor = draw(0, 7, 3);
  }
  if (Flag(30, first || m_newStrategy)) {  // snroffste
    m_noBits = m_preRoll || Chance(5);
    shared.coarseSnrOffset = m_noBits ? draw(0, 0, 6) : draw(1, std::max(60 * m_percent / 100, 1), 6);
    for (const int i : Coded()) {
      m_block.channels[i].allocation.fineSnrOffset = m_noBits ? draw(0, 0, 4) : draw(0, 15, 4);
      m_block.channels[i].allocation.fastGain = draw(0, 7, 3);
    }
    if (m_noBits) Note("no bits");
  }
  if (m_block.coupling.inUse && Flag(30, m_newStrategy)) {  // cplleake
    shared.couplingFastLeak = draw(0, 7, 3);
    shared.couplingSlowLeak = draw(0, 7, 3);
  }
}

void Ac3Generator::WriteDelta(bool first) {
  // Segments of the coupling channel are for its bands: every strategy signals anew whether it has any, also
  // because a reference decoder takes up those of an earlier frame where none does.
  const bool forced = m_options.couplingDelta && m_newStrategy && m_block.coupling.inUse;
  if (!Flag(m_options.delta ? 30 * m_percent / 100 : 0, m_options.delta && forced)) return;
  std::vector<int> channels = Coded();
  if (m_options.lfe) channels.pop_back();
  int actions[kCodedChannels];
  for (const int i : channels) {
    // What is reused was sent in this frame.
    const bool sent = !first && m_block.channels[i].allocation.delta.count > 0;
    actions[i] = i == kCoupling && !m_options.couplingDelta ? 2 : Random(sent ? 0 : 1, 2);
    Write(actions[i], 2);
  }
  for (const int i : channels) {
    ChannelAllocation& allocation = m_block.channels[i].allocation;
    if (actions[i] == 0) Note(allocation.hasDelta ? "delta kept" : "delta taken up again");
    allocation.hasDelta = actions[i] != 2;
    if (actions[i] != 1) continue;
    const auto start = static_cast<std::size_t>(m_block.channels[i].start);
    const auto band = std::upper_bound(kBandStart, kBandStart + kBands, start) - kBandStart - 1;
    allocation.delta = WriteSegments(static_cast<int>(band));
    Note(i == kCoupling ? "delta of the coupling channel" : "delta");
  }
}

DeltaSegments Ac3Generator::WriteSegments(int firstBand) {
  DeltaSegments delta{};
  delta.count = static_cast<std::uint8_t>(Draw(0, 7, 3) + 1);
  int band = firstBand;
  for (int i = 0; i < delta.count; ++i) {
    delta.offset[i] = static_cast<std::uint8_t>(Draw(0, std::min(31, (kBands - band) / 2), 5));
    band += delta.offset[i];
    delta.length[i] = static_cast<std::uint8_t>(Draw(0, std::min(15, (kBands - band) / 2), 4));
    band += delta.length[i];
    delta.step[i] = static_cast<std::uint8_t>(Draw(0, 7, 3));
  }
  return delta;
}

void Ac3Generator::Allocate(int index) {
  CodedChannel& channel = m_block.channels[index];
  std::fill_n(channel.pointers, kBins, std::uint8_t{0});
  if (m_noBits) return;
  const AllocationKind kind = index == kCoupling ? AllocationKind::kCoupling
                              : index == kLfe    ? AllocationKind::kLfe
                                                 : AllocationKind::kFull;
  AllocateBits(kind, channel.start, channel.end, channel.exponents, m_block.allocation, channel.allocation,
               m_sync.frequencyCode, m_sync.rateShift, channel.pointers);
}

void Ac3Generator::WriteMantissas(int index) {
  struct Quantiser {
    int codes;
    unsigned bits;
    int size;
  };
  constexpr std::array<Quantiser, 16> kQuantisers = {{{},
                                                      {27, 5, 3},
                                                      {125, 7, 3},
                                                      {7, 3, 1},
                                                      {121, 7, 2},
                                                      {15, 4, 1},
                                                      {1 << 5, 5, 1},
                                                      {1 << 6, 6, 1},
                                                      {1 << 7, 7, 1},
                                                      {1 << 8, 8, 1},
                                                      {1 << 9, 9, 1},
                                                      {1 << 10, 10, 1},
                                                      {1 << 11, 11, 1},
                                                      {1 << 12, 12, 1},
                                                      {1 << 14, 14, 1},
                                                      {1 << 16, 16, 1}}};
  const CodedChannel& channel = m_block.channels[index];
  for (int bin = channel.start; bin < channel.end; ++bin) {
    const std::uint8_t pointer = channel.pointers[bin];
    Note("pointer " + std::to_string(pointer));
    if (pointer == 0) continue;
    const Quantiser& quantiser = kQuantisers[pointer];
    if (pointer < 6 && m_left[pointer] > 0) {
      --m_left[pointer];
      continue;
    }
    Draw(0, quantiser.codes - 1, quantiser.bits);
    if (pointer < 6) m_left[pointer] = quantiser.size - 1;
  }
}

}  // namespace fmp4
