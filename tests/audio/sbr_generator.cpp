#include "tests/audio/sbr_generator.h"

#include <algorithm>
#include <cstdlib>

#include "audio/umc/aac/sbr/huffman_codes.h"
#include "dsp/ipps_crc.h"

namespace fmp4 {

using namespace UMC;

using namespace UMC::aac;

namespace {

// fill_element()'s count goes no further.
constexpr std::size_t kMaxBytes = 269;

struct Code {
  const IppsVLCTable_32s* words;
  int largest;
};

// Envelopes by [bs_amp_res][balance][over time], then noise by [balance][over time].
enum : int { kNoiseCodes = 8 };
constexpr Code kCodes[] = {
    {kSbrFrequencyLevel15, 60},   {kSbrTimeLevel15, 60},        {kSbrFrequencyBalance15, 24},
    {kSbrTimeBalance15, 24},      {kSbrFrequencyLevel30, 31},   {kSbrTimeLevel30, 31},
    {kSbrFrequencyBalance30, 12}, {kSbrTimeBalance30, 12},      {kSbrFrequencyLevel30, 31},
    {kSbrTimeNoise, 31},          {kSbrFrequencyBalance30, 12}, {kSbrTimeNoiseBalance, 12}};

unsigned Unsigned(int value) {
  return static_cast<unsigned>(value);
}

}  // namespace

SbrGenerator::SbrGenerator(unsigned seed, int channels, std::uint32_t frequency, int slots,
                           const SbrGeneratorOptions& options)
    : m_random(seed),
      m_channelCount(channels),
      m_frequency(frequency),
      m_slots(slots),
      m_options(options),
      m_ps(seed) {}

int SbrGenerator::Random(int low, int high) {
  return low + static_cast<int>(m_random() % Unsigned(high - low + 1));
}

std::vector<std::uint8_t> SbrGenerator::NextPayload() {
  // A payload that is too long is drawn again.
  for (const SbrGenerator before = *this;;) {
    m_bits = {};
    WriteData();
    BitWriter payload;
    payload.Write(m_options.crc ? 14 : 13, 4);
    if (m_options.crc) {
      // Everything after the checksum counts, the fill bits included.
      BitWriter covered = m_bits;
      while ((4 + 10 + covered.Bits()) % 8 != 0) covered.Write(0, 1);
      Ipp32u crc = 0;
      ippsCRC32_8u(covered.Bytes().data(), 0, covered.Bits(), 0x233u << 22, &crc);
      payload.Write(crc >> 22, 10);
    }
    for (std::size_t i = 0; i < m_bits.Bits(); ++i)
      payload.Write(m_bits.Bytes()[i / 8] >> (7 - i % 8) & 1u, 1);
    payload.Align();
    if (payload.Bytes().size() <= kMaxBytes) return payload.Bytes();
    const auto random = m_random;
    *this = before;
    m_random = random;
    m_ps.Reseed(static_cast<unsigned>(m_random()));
  }
}

// A header whose bands are within the limits.
SbrHeader SbrGenerator::RandomHeader() {
  for (;;) {
    SbrHeader header{};
    header.ampRes = static_cast<std::uint8_t>(Random(0, 1));
    header.startFreq = static_cast<std::uint8_t>(Random(0, 15));
    header.stopFreq = static_cast<std::uint8_t>(Random(0, 15));
    header.xoverBand = static_cast<std::uint8_t>(Chance(60) ? 0 : Random(0, 4));
    header.freqScale = static_cast<std::uint8_t>(Random(0, 3));
    header.alterScale = static_cast<std::uint8_t>(Random(0, 1));
    header.noiseBands = static_cast<std::uint8_t>(Random(0, 3));
    header.limiterBands = static_cast<std::uint8_t>(Random(0, 3));
    header.limiterGains = static_cast<std::uint8_t>(Random(0, 3));
    header.interpolFreq = Chance(50);
    header.smoothingOff = !m_options.smoothing || Chance(50);
    SbrFrequencyTables tables;
    if (!MakeSbrFrequencyTables(header, m_frequency, tables) || tables.patchCount > 5) continue;
    // Where a last patch was left out, the standard's limiter bands (4.6.18.3.2.3) may end below the last
    // subband and leave the rest undefined; reference decoders differ there.
    int copied = tables.kx;
    for (int i = 0; i < tables.patchCount; ++i) copied += tables.patches[i].count;
    if (copied < tables.kx + tables.m && header.limiterBands != 0) continue;
    return header;
  }
}

void SbrGenerator::WriteHeader(const SbrHeader& header) {
  m_bits.Write(header.ampRes, 1);
  m_bits.Write(header.startFreq, 4);
  m_bits.Write(header.stopFreq, 4);
  m_bits.Write(header.xoverBand, 3);
  m_bits.Write(Unsigned(Random(0, 3)), 2);
  const bool defaults1 = header.freqScale == 2 && header.alterScale == 1 && header.noiseBands == 2;
  const bool defaults2 =
      header.limiterBands == 2 && header.limiterGains == 2 && header.interpolFreq && header.smoothingOff;
  const bool extra1 = !defaults1 || Chance(30), extra2 = !defaults2 || Chance(30);
  m_bits.Write(extra1, 1);
  m_bits.Write(extra2, 1);
  if (extra1) {
    m_bits.Write(header.freqScale, 2);
    m_bits.Write(header.alterScale, 1);
    m_bits.Write(header.noiseBands, 2);
  }
  if (extra2) {
    m_bits.Write(header.limiterBands, 2);
    m_bits.Write(header.limiterGains, 2);
    m_bits.Write(header.interpolFreq, 1);
    m_bits.Write(header.smoothingOff, 1);
  }
  Note("scale " + std::to_string(header.freqScale) + (header.alterScale != 0 ? " altered" : ""));
  Note("limiter bands " + std::to_string(header.limiterBands));
  Note("limiter gains " + std::to_string(header.limiterGains));
  Note(header.interpolFreq ? "interpolated" : "not interpolated");
  Note(header.smoothingOff ? "not smoothed" : "smoothed");
}

// A grid that starts where the last frame ended.
void SbrGenerator::DrawGrid(Channel& channel) {
  for (;;) {
    SbrGrid& grid = channel.grid = {};
    grid.frameClass = static_cast<SbrFrameClass>(Random(0, 3));
    const bool fixedLead =
        grid.frameClass == SbrFrameClass::kFixFix || grid.frameClass == SbrFrameClass::kFixVar;
    if (fixedLead && channel.lead != 0) continue;
    if (grid.frameClass == SbrFrameClass::kFixFix) {
      grid.envelopes = static_cast<std::uint8_t>(1 << Random(0, 2));
      const bool high = Chance(50);
      std::fill_n(grid.highResolution, kMaxSbrEnvelopes, high);
      grid.borders[grid.envelopes] = static_cast<std::uint8_t>(m_slots);
      channel.pointer = 0;
      return;
    }
    const bool trails = grid.frameClass != SbrFrameClass::kVarFix;
    const int end = m_slots + (trails ? Random(0, 3) : 0);
    const int leading = fixedLead ? 0 : Random(0, 3);
    const int trailing = trails ? Random(0, 3) : 0;
    if (leading + trailing + 1 > kMaxSbrEnvelopes) continue;
    grid.envelopes = static_cast<std::uint8_t>(leading + trailing + 1);
    grid.borders[0] = static_cast<std::uint8_t>(channel.lead);
    for (int i = 1; i <= leading; ++i)
      grid.borders[i] = static_cast<std::uint8_t>(grid.borders[i - 1] + 2 * Random(1, 4));
    grid.borders[grid.envelopes] = static_cast<std::uint8_t>(end);
    int border = end;
    for (int i = 1; i <= trailing; ++i) {
      border -= 2 * Random(1, 4);
      grid.borders[grid.envelopes - i] = static_cast<std::uint8_t>(std::max(border, 0));
    }
    if (border < 0 || !std::is_sorted(grid.borders, grid.borders + grid.envelopes + 1, std::less_equal<>()))
      continue;
    for (int i = 0; i < grid.envelopes; ++i) grid.highResolution[i] = Chance(50);
    channel.leading = leading;
    channel.pointer = Random(0, grid.envelopes + 1);
    return;
  }
}

void SbrGenerator::WriteGrid(Channel& channel) {
  DrawGrid(channel);
  SbrGrid& grid = channel.grid;
  const int count = grid.envelopes;
  const auto frameClass = static_cast<int>(grid.frameClass);
  m_bits.Write(Unsigned(frameClass), 2);
  Note("class " + std::to_string(frameClass) + " envelopes " + std::to_string(count));
  channel.ampRes = m_header->ampRes != 0;
  if (grid.frameClass == SbrFrameClass::kFixFix) {
    m_bits.Write(count == 1 ? 0 : count == 2 ? 1 : 2, 2);
    m_bits.Write(grid.highResolution[0], 1);
    if (count == 1) channel.ampRes = false;
  } else {
    const bool leads = grid.frameClass != SbrFrameClass::kFixVar;
    const bool trails = grid.frameClass != SbrFrameClass::kVarFix;
    const int leading = channel.leading;
    if (leads) m_bits.Write(grid.borders[0], 2);
    if (trails) m_bits.Write(Unsigned(grid.borders[count] - m_slots), 2);
    if (leads) m_bits.Write(Unsigned(leading), 2);
    if (trails) m_bits.Write(Unsigned(count - 1 - leading), 2);
    for (int i = 1; i <= leading; ++i)
      m_bits.Write(Unsigned(grid.borders[i] - grid.borders[i - 1] - 2) / 2, 2);
    for (int i = count - 1; i > leading; --i)
      m_bits.Write(Unsigned(grid.borders[i + 1] - grid.borders[i] - 2) / 2, 2);
    const unsigned pointerBits = count == 1 ? 1 : count <= 3 ? 2 : 3;
    m_bits.Write(Unsigned(channel.pointer), pointerBits);
    for (int i = 0; i < count; ++i) m_bits.Write(grid.highResolution[leads ? i : count - 1 - i], 1);
    Note("pointer " + std::to_string(channel.pointer));
  }
  grid.noiseFloors = count > 1 ? 2 : 1;
  channel.lead = grid.borders[count] - m_slots;
  Note(channel.ampRes ? "3 dB" : "1.5 dB");
}

// Of envelopes, then of noise floors.
void SbrGenerator::WriteDirections(Channel& channel, std::vector<bool>& directions) {
  directions.clear();
  for (int i = 0; i < channel.grid.envelopes + channel.grid.noiseFloors; ++i) {
    const bool first = i == 0 || i == channel.grid.envelopes;
    const bool overTime =
        m_options.timeCoding && (channel.known || !first) && Chance(m_options.timeCodingPercent);
    directions.push_back(overTime);
    m_bits.Write(overTime, 1);
    Note(overTime ? "over time" : "over frequency");
  }
}

void SbrGenerator::WriteInverseFiltering() {
  for (int i = 0; i < m_tables.noise.count; ++i) {
    const int mode = Random(0, 3);
    m_bits.Write(Unsigned(mode), 2);
    Note("inverse filtering " + std::to_string(mode));
  }
}

// Values that vary a little, no further from the reference than a code allows.
std::vector<int> SbrGenerator::Walk(int count, int lowest, int highest, const std::vector<int>* reference,
                                    int largest) {
  std::vector<int> values;
  int value = Random(lowest, highest);
  for (int i = 0; i < count; ++i) {
    value = std::clamp(value + Random(-2, 2), lowest, highest);
    if (reference != nullptr) {
      const int at = (*reference)[static_cast<std::size_t>(i)];
      value = std::clamp(at + Random(-2, 2), std::max(lowest, at - largest),
                         std::max(lowest, std::min(highest, at + largest)));
      value = std::clamp(value, at - largest, at + largest);
    }
    values.push_back(value);
  }
  return values;
}

void SbrGenerator::WriteValues(const std::vector<int>& values, const std::vector<int>* reference,
                               unsigned startBits, int code) {
  const Code& words = kCodes[code];
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (reference == nullptr && i == 0) {
      m_bits.Write(Unsigned(values[0]), startBits);
      continue;
    }
    const int difference = values[i] - (reference != nullptr ? (*reference)[i] : values[i - 1]);
    const IppsVLCTable_32s& word = words.words[difference + words.largest];
    m_bits.Write(Unsigned(word.code), Unsigned(word.length));
  }
}

void SbrGenerator::WriteEnvelopes(Channel& channel, const std::vector<bool>& directions, bool balance) {
  for (int i = 0; i < channel.grid.envelopes; ++i) {
    const bool high = channel.grid.highResolution[i];
    const auto& bands = m_tables.bands[high];
    const bool overTime = directions[static_cast<std::size_t>(i)];
    // The last envelope in this one's bands: for a wider band the same value, for narrower ones the first.
    std::vector<int> reference;
    for (int band = 0; overTime && band < bands.count; ++band) {
      const auto& before = m_tables.bands[channel.highResolution];
      int at = 0;
      while (at + 1 < before.count && before.borders[at + 1] <= bands.borders[band]) ++at;
      reference.push_back(channel.envelope[static_cast<std::size_t>(at)]);
    }
    if (overTime && high != channel.highResolution) Note(high ? "high from low" : "low from high");
    const int code = 4 * channel.ampRes + 2 * balance + overTime;
    const int steps = channel.ampRes ? 1 : 2;
    const auto* known = overTime ? &reference : nullptr;
    const std::vector<int> values = Walk(bands.count, balance ? 0 : 6 * steps,
                                         balance ? 12 * steps : 14 * steps, known, kCodes[code].largest);
    WriteValues(values, known, (balance ? 6u : 7u) - (channel.ampRes ? 1u : 0u), code);
    channel.envelope = values;
    channel.highResolution = high;
  }
}

void SbrGenerator::WriteNoise(Channel& channel, const std::vector<bool>& directions, bool balance) {
  for (int i = 0; i < channel.grid.noiseFloors; ++i) {
    const bool overTime = directions[static_cast<std::size_t>(channel.grid.envelopes + i)];
    const auto* known = overTime ? &channel.noise : nullptr;
    const int code = kNoiseCodes + 2 * balance + overTime;
    const std::vector<int> values =
        Walk(m_tables.noise.count, 0, balance ? 12 : 25, known, kCodes[code].largest);
    WriteValues(values, known, 5, code);
    channel.noise = values;
  }
  channel.known = true;
}

void SbrGenerator::WriteSinusoids() {
  const bool any = Chance(30);
  m_bits.Write(any, 1);
  for (int i = 0; any && i < m_tables.bands[1].count; ++i) m_bits.Write(Chance(20), 1);
  if (any) Note("sinusoids");
}

void SbrGenerator::WriteExtensions() {
  const bool any = m_options.otherExtensions && Chance(10);
  m_bits.Write(any, 1);
  if (!any) return;
  const int bytes = Chance(20) ? Random(15, 20) : Random(1, 14);
  m_bits.Write(Unsigned(std::min(bytes, 15)), 4);
  if (bytes >= 15) m_bits.Write(Unsigned(bytes - 15), 8);
  for (int i = 0; i < bytes; ++i) m_bits.Write(0, 8);  // bs_extension_id 0 is reserved
  Note(bytes >= 15 ? "long extension" : "extension");
}

void SbrGenerator::WritePs(const PsGeneratorOptions& options) {
  BitWriter ps;
  m_ps.Write(options, ps);
  m_bits.Write(1, 1);
  const std::size_t bytes = (2 + ps.Bits() + 7) / 8;
  m_bits.Write(std::min<std::size_t>(bytes, 15), 4);
  if (bytes >= 15) m_bits.Write(bytes - 15, 8);
  m_bits.Write(2, 2);  // EXTENSION_ID_PS
  for (std::size_t i = 0; i < 8 * bytes - 2; ++i)
    m_bits.Write(i < ps.Bits() ? ps.Bytes()[i / 8] >> (7 - i % 8) & 1u : 0, 1);
}

void SbrGenerator::WriteData() {
  const bool change = m_header.has_value() && m_options.headerChanges && Chance(5);
  const bool sent = !m_header.has_value() || change || Chance(m_options.headerPercent);
  m_bits.Write(sent && m_options.sendHeader, 1);
  if (sent) {
    const std::optional<SbrHeader> last = m_header;
    if (!last.has_value() || change) m_header = RandomHeader();
    if (m_options.sendHeader) WriteHeader(*m_header);
    if (!last.has_value() || !m_header->HasBandsOf(*last)) {
      for (Channel& channel : m_channels) channel.known = false;
      if (last.has_value()) Note("other bands");
    }
    MakeSbrFrequencyTables(*m_header, m_frequency, m_tables);
  }
  const bool extra = Chance(10);
  m_bits.Write(extra, 1);
  if (extra) m_bits.Write(m_random() & 15u, 4);
  if (extra && m_channelCount == 2) m_bits.Write(m_random() & 15u, 4);

  Channel& left = m_channels[0];
  Channel& right = m_channels[1];
  std::vector<bool> directions[2];
  // One grid for both starts at the same place.
  bool coupled = m_channelCount == 2 && left.lead == right.lead && Chance(m_options.coupledPercent);
  if (m_channelCount == 2) m_bits.Write(coupled, 1);
  if (coupled != m_coupled) left.known = right.known = false;
  m_coupled = coupled;
  if (coupled) {
    WriteGrid(left);
    right.grid = left.grid;
    right.ampRes = left.ampRes;
    right.lead = left.lead;
    for (int i = 0; i < 2; ++i) WriteDirections(m_channels[i], directions[i]);
    WriteInverseFiltering();
    for (int i = 0; i < 2; ++i) {
      WriteEnvelopes(m_channels[i], directions[i], i == 1);
      WriteNoise(m_channels[i], directions[i], i == 1);
    }
    Note("coupled");
  } else {
    for (int i = 0; i < m_channelCount; ++i) WriteGrid(m_channels[i]);
    for (int i = 0; i < m_channelCount; ++i) WriteDirections(m_channels[i], directions[i]);
    for (int i = 0; i < m_channelCount; ++i) WriteInverseFiltering();
    for (int i = 0; i < m_channelCount; ++i) WriteEnvelopes(m_channels[i], directions[i], false);
    for (int i = 0; i < m_channelCount; ++i) WriteNoise(m_channels[i], directions[i], false);
  }
  for (int i = 0; i < m_channelCount; ++i) WriteSinusoids();
  const auto ps = m_options.ps != nullptr && m_channelCount == 1 ? m_options.ps(m_frame++) : std::nullopt;
  if (ps.has_value()) {
    WritePs(*ps);
  } else {
    WriteExtensions();
  }
}

}  // namespace fmp4
