#include "audio/umc/aac/sbr/frequency_tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

namespace UMC::aac {

namespace {

// Twice the maximum core frequency, in hertz.
constexpr std::uint32_t kHighestFrequency = 2 * 96000;

// Rounds to nearest, halves up (NINT of the standard).
int Round(double x) {
  return static_cast<int>(std::floor(x + 0.5));
}

// The lowest border, in hertz, from which startMin and (doubled) stopMin are derived.
int LowestStart(std::uint32_t frequency) {
  return frequency < 32000 ? 3000 : frequency < 64000 ? 4000 : 5000;
}

// k0 (4.6.18.3.2.1)
int StartBand(int startFreq, std::uint32_t frequency) {
  constexpr std::int8_t kOffsets[6][16] = {
      {-8, -7, -6, -5, -4, -3, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7},  // 16 kHz
      {-5, -4, -3, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, 11, 13},   // 22.05 kHz
      {-5, -3, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, 11, 13, 16},   // 24 kHz
      {-6, -4, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, 11, 13, 16},   // 32 kHz
      {-4, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, 11, 13, 16, 20},   // 44.1 to 64 kHz
      {-2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, 11, 13, 16, 20, 24}};  // above 64 kHz
  // Frequencies in between use the row of the frequency that determines their band tables.
  constexpr std::uint32_t kFirst[6] = {0, 18783, 23004, 27713, 37566, 75132};
  const auto* row = std::upper_bound(std::begin(kFirst), std::end(kFirst), frequency) - 1;
  const int lowest = Round(LowestStart(frequency) * 128.0 / frequency);
  return lowest + kOffsets[row - kFirst][startFreq];
}

// The widths of `count` bands between two borders, with a constant ratio of borders; sorted.
void GeometricWidths(int start, int end, int count, int* widths) {
  const double ratio = static_cast<double>(end) / start;
  int last = start;
  for (int i = 0; i < count; ++i) {
    const int next = Round(start * std::pow(ratio, static_cast<double>(i + 1) / count));
    widths[i] = next - last;
    last = next;
  }
  std::sort(widths, widths + count);
}

// k2 (4.6.18.3.2.1)
int StopBand(int stopFreq, int k0, std::uint32_t frequency) {
  if (stopFreq == 14) return std::min(kQmfBands, 2 * k0);
  if (stopFreq == 15) return std::min(kQmfBands, 3 * k0);
  const int lowest = Round(2 * LowestStart(frequency) * 128.0 / frequency);
  int widths[13];
  GeometricWidths(lowest, kQmfBands, 13, widths);
  return std::min(kQmfBands, std::accumulate(widths, widths + stopFreq, lowest));
}

// Appends bands of the given widths to the master table.
void AppendWidths(const int* widths, int count, SbrBands<kMaxSbrBands>& master) {
  for (int i = 0; i < count; ++i) {
    master.borders[master.count + 1] = static_cast<std::uint8_t>(master.borders[master.count] + widths[i]);
    ++master.count;
  }
}

// bs_freq_scale 0: bands of one or two subbands (4.6.18.3.2.2).
bool MakeLinearMaster(const SbrHeader& header, int k0, int k2, SbrBands<kMaxSbrBands>& master) {
  const int width = header.alterScale == 0 ? 1 : 2;
  const int count =
      header.alterScale == 0 ? 2 * ((k2 - k0) / 2) : 2 * Round(static_cast<double>(k2 - k0) / 4);
  if (count <= 0 || count > kMaxSbrBands) return false;
  int widths[kMaxSbrBands];
  std::fill_n(widths, count, width);
  int difference = k2 - k0 - count * width;
  for (int i = 0; difference < 0; ++i, ++difference) --widths[i];
  for (int i = count - 1; difference > 0; --i, --difference) ++widths[i];
  AppendWidths(widths, count, master);
  return true;
}

// bs_freq_scale 1 to 3: a given number of bands per octave (4.6.18.3.2.3).
bool MakeLogarithmicMaster(const SbrHeader& header, int k0, int k2, SbrBands<kMaxSbrBands>& master) {
  constexpr int kBandsAnOctave[4] = {0, 12, 10, 8};
  const int perOctave = kBandsAnOctave[header.freqScale];
  const double warp = header.alterScale != 0 ? 1.3 : 1.0;
  const bool twoRegions = static_cast<double>(k2) / k0 > 2.2449;
  const int k1 = twoRegions ? 2 * k0 : k2;

  const int count0 = 2 * Round(perOctave * std::log2(static_cast<double>(k1) / k0) / 2);
  if (count0 <= 0 || count0 > kMaxSbrBands) return false;
  int widths0[kMaxSbrBands];
  GeometricWidths(k0, k1, count0, widths0);
  if (widths0[0] <= 0) return false;
  AppendWidths(widths0, count0, master);
  if (!twoRegions) return true;

  const int count1 = 2 * Round(perOctave * std::log2(static_cast<double>(k2) / k1) / (2 * warp));
  if (count1 <= 0 || count0 + count1 > kMaxSbrBands) return false;
  int widths1[kMaxSbrBands];
  GeometricWidths(k1, k2, count1, widths1);
  if (widths1[0] < widths0[count0 - 1]) {
    const int change = std::min(widths0[count0 - 1] - widths1[0], (widths1[count1 - 1] - widths1[0]) / 2);
    widths1[0] += change;
    widths1[count1 - 1] -= change;
    std::sort(widths1, widths1 + count1);
  }
  if (widths1[0] <= 0) return false;
  AppendWidths(widths1, count1, master);
  return true;
}

// 4.6.18.3.3
void MakeEnvelopeBands(int xoverBand, SbrFrequencyTables& tables) {
  auto& [low, high] = tables.bands;
  high.count = static_cast<std::uint8_t>(tables.master.count - xoverBand);
  std::copy_n(tables.master.borders + xoverBand, high.count + 1, high.borders);
  const int odd = high.count % 2;
  low.count = static_cast<std::uint8_t>(high.count / 2 + odd);
  low.borders[0] = high.borders[0];
  for (int i = 1; i <= low.count; ++i) low.borders[i] = high.borders[2 * i - odd];
  tables.kx = high.borders[0];
  tables.m = high.borders[high.count] - tables.kx;
}

bool MakeNoiseBands(int noiseBands, int k2, SbrFrequencyTables& tables) {
  const auto& low = tables.bands[0];
  const int count = std::max(1, Round(noiseBands * std::log2(static_cast<double>(k2) / tables.kx)));
  if (count > kMaxSbrNoiseBands || count > low.count) return false;
  tables.noise.count = static_cast<std::uint8_t>(count);
  tables.noise.borders[0] = low.borders[0];
  int index = 0;
  for (int i = 1; i <= count; ++i) {
    index += (low.count - index) / (count + 1 - i);
    tables.noise.borders[i] = low.borders[index];
  }
  return true;
}

// 4.6.18.6.3
bool MakePatches(std::uint32_t frequency, SbrFrequencyTables& tables) {
  const auto& master = tables.master;
  const int k0 = tables.k0, end = tables.kx + tables.m;
  const int goal = Round(2.048e6 / frequency);
  int highest = master.count;
  if (goal < end) {
    highest = 0;
    while (master.borders[highest] < goal) ++highest;
  }
  int sourceEnd = k0, targetEnd = tables.kx, sb = 0;
  tables.patchCount = 0;
  // If the bands permit termination, at least every other round adds a patch.
  for (int round = 0; sb != end; ++round) {
    if (round > 2 * kMaxSbrPatches + 1) return false;
    int odd = 0;
    int j = highest + 1;
    do {
      --j;
      sb = master.borders[j];
      odd = (sb - 2 + k0) & 1;
    } while (j > 0 && sb > k0 - 1 + sourceEnd - odd);
    const int count = std::max(sb - targetEnd, 0);
    if (count > 0) {
      const int source = k0 - odd - count;
      if (tables.patchCount == kMaxSbrPatches || source < 0) return false;
      tables.patches[tables.patchCount++] = {static_cast<std::uint8_t>(source),
                                             static_cast<std::uint8_t>(count)};
      targetEnd = sourceEnd = sb;
    } else {
      sourceEnd = tables.kx;
    }
    if (master.borders[highest] - sb < 3) highest = master.count;
  }
  if (tables.patchCount > 1 && tables.patches[tables.patchCount - 1].count < 3) --tables.patchCount;
  return true;
}

}  // namespace

bool MakeSbrFrequencyTables(const SbrHeader& header, std::uint32_t frequency, SbrFrequencyTables& tables) {
  tables = {};
  if (frequency == 0 || frequency > kHighestFrequency) return false;
  const int k0 = StartBand(header.startFreq, frequency);
  const int k2 = StopBand(header.stopFreq, k0, frequency);
  const int widest = frequency < 37566 ? 48 : frequency < 46009 ? 35 : 32;
  if (k0 <= 0 || k2 <= k0 || k2 - k0 > widest) return false;
  tables.k0 = k0;
  tables.master.borders[0] = static_cast<std::uint8_t>(k0);
  const bool made = header.freqScale == 0 ? MakeLinearMaster(header, k0, k2, tables.master)
                                          : MakeLogarithmicMaster(header, k0, k2, tables.master);
  if (!made || header.xoverBand >= tables.master.count) return false;
  MakeEnvelopeBands(header.xoverBand, tables);
  if (tables.kx > 32 || tables.kx + tables.m > kQmfBands) return false;
  if (!MakeNoiseBands(header.noiseBands, k2, tables) || !MakePatches(frequency, tables)) return false;
  MakeSbrLimiterBands(header.limiterBands, tables);
  return true;
}

// 4.6.18.3.2.3, "limiter frequency band table"
void MakeSbrLimiterBands(int limiterBands, SbrFrequencyTables& tables) {
  const auto& low = tables.bands[0];
  auto& limiter = tables.limiter;
  if (limiterBands == 0) {
    limiter.count = 1;
    limiter.borders[0] = low.borders[0];
    limiter.borders[1] = low.borders[low.count];
    return;
  }
  std::uint8_t patchBorders[kMaxSbrPatches + 1] = {static_cast<std::uint8_t>(tables.kx)};
  for (int i = 0; i < tables.patchCount; ++i) {
    patchBorders[i + 1] = static_cast<std::uint8_t>(patchBorders[i] + tables.patches[i].count);
  }
  const auto* patchEnd = patchBorders + tables.patchCount + 1;
  const auto isPatchBorder = [&](std::uint8_t border) {
    return std::find<const std::uint8_t*>(patchBorders, patchEnd, border) != patchEnd;
  };
  std::uint8_t all[kMaxSbrLimiterBands + 1];
  std::uint8_t* end = std::copy_n(low.borders, low.count + 1, all);
  end = std::copy(patchBorders + 1, patchBorders + tables.patchCount, end);
  std::sort(all, end);

  constexpr double kBandsAnOctave[4] = {0, 1.2, 2, 3};
  std::uint8_t* kept = limiter.borders;
  *kept = all[0];
  for (const std::uint8_t* next = all + 1; next != end; ++next) {
    const double octaves = std::log2(static_cast<double>(*next) / *kept);
    if (octaves * kBandsAnOctave[limiterBands] >= 0.49) {
      *++kept = *next;
    } else if (*next == *kept || !isPatchBorder(*next)) {
      continue;
    } else if (!isPatchBorder(*kept)) {
      *kept = *next;
    } else {
      *++kept = *next;
    }
  }
  // If a last patch was left out, the last border may be missing: its band is merged with the one below.
  if (kept == limiter.borders) ++kept;
  *kept = low.borders[low.count];
  limiter.count = static_cast<std::uint8_t>(kept - limiter.borders);
}

}  // namespace UMC::aac
