#include "audio/umc/aac/ps/tables.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <iterator>
#include <numbers>

namespace UMC::aac {

namespace {

using std::numbers::pi;
using std::numbers::sqrt2;

// Prototype filters of the hybrid banks, from the centre tap outwards (tables 8.39 and 8.40).
struct Prototype {
  int phases;      // Q
  bool modulated;  // by complex exponentials (type A), else by cosines (type B)
  double taps[PsFilterBank::kReach + 1];
};

constexpr Prototype kSplit8Of20 = {8,
                                   true,
                                   {0.125, 0.11793710567217, 0.09885108575264, 0.07266113929591,
                                    0.04546865930473, 0.02270420949825, 0.00746082949812}};
constexpr Prototype kSplit2Of20 = {
    2, false, {0.5, 0.30596630545168, 0.0, -0.07293139167538, 0.0, 0.01899487526049, 0.0}};
constexpr Prototype kSplit12Of34 = {12,
                                    true,
                                    {0.08333333333333, 0.08100347892914, 0.07428313801106, 0.06399831151592,
                                     0.05144908135699, 0.03812810994926, 0.04081179924692}};
constexpr Prototype kSplit8Of34 = {8,
                                   true,
                                   {0.125, 0.12222452249753, 0.10307344158036, 0.08417044116767,
                                    0.05417891378782, 0.03752716391991, 0.01565675600122}};
constexpr Prototype kSplit4Of34 = {
    4,
    true,
    {0.25, 0.23279856662996, 0.16486303567403, 0.07778723915851, 0.0, -0.04871498374946, -0.05908211155639}};

// Sets filter `place` of a bank to the sum of the prototype's filters q listed in `phases`.
void AddFilter(const Prototype& prototype, std::initializer_list<int> phases, int place, PsFilterBank& bank) {
  for (int i = 0; i <= PsFilterBank::kReach; ++i) {
    std::complex<double> tap = 0;
    for (const int q : phases) {
      const double angle = 2 * pi / prototype.phases * i;
      tap += prototype.modulated ? std::polar(prototype.taps[i], angle * (q + 0.5))
                                 : prototype.taps[i] * std::cos(angle * q);
    }
    bank.re[i][place] = static_cast<float>(tap.real());
    bank.im[i][place] = static_cast<float>(tap.imag());
  }
}

void AddFilters(const Prototype& prototype, PsFilterBank& bank) {
  for (int q = 0; q < prototype.phases; ++q) AddFilter(prototype, {q}, q, bank);
  bank.filters = prototype.phases;
}

void SetFilters20(PsConfiguration& made) {
  PsFilterBank* banks = made.filters;
  // Above the band's middle, filters of mirrored frequencies are added in pairs (figure 8.20).
  AddFilter(kSplit8Of20, {6}, 0, banks[0]);
  AddFilter(kSplit8Of20, {7}, 1, banks[0]);
  AddFilter(kSplit8Of20, {0}, 2, banks[0]);
  AddFilter(kSplit8Of20, {1}, 3, banks[0]);
  AddFilter(kSplit8Of20, {2, 5}, 4, banks[0]);
  AddFilter(kSplit8Of20, {3, 4}, 5, banks[0]);
  banks[0].filters = 8;
  // Odd QMF bands have a reversed frequency order.
  AddFilter(kSplit2Of20, {1}, 0, banks[1]);
  AddFilter(kSplit2Of20, {0}, 1, banks[1]);
  AddFilter(kSplit2Of20, {0}, 0, banks[2]);
  AddFilter(kSplit2Of20, {1}, 1, banks[2]);
  banks[1].filters = banks[2].filters = 4;
  constexpr int kFirst[] = {0, 6, 8, 10};
  std::copy(std::begin(kFirst), std::end(kFirst), made.firstOf);
}

void SetFilters34(PsConfiguration& made) {
  AddFilters(kSplit12Of34, made.filters[0]);
  AddFilters(kSplit8Of34, made.filters[1]);
  for (int band = 2; band < 5; ++band) AddFilters(kSplit4Of34, made.filters[band]);
  constexpr int kFirst[] = {0, 12, 20, 24, 28, 32};
  std::copy(std::begin(kFirst), std::end(kFirst), made.firstOf);
}

// Centre frequencies of the split bands, in units of a QMF band (tables 8.41 and 8.42, times 8 and 24).
constexpr int kCentre20[] = {-3, -1, 1, 3, 5, 7, 10, 14, 18, 22};
constexpr int kCentre34[] = {2,  6,  10, 14, 18, 22, 26, 30, 34,  -10, -6, -2, 51,  57,  15,  21,
                             27, 33, 39, 45, 54, 66, 78, 42, 102, 66,  78, 90, 102, 114, 126, 90};

// Sets the all-pass filters (8.6.4.5.2). They fade out above band `cutoff`.
template <class Centres>
void SetAllPass(const Centres& centres, double unit, int cutoff, PsConfiguration& made) {
  constexpr double kPhase = 0.39;
  constexpr double kRotations[kPsAllPassLinks] = {0.43, 0.75, 0.347};
  constexpr double kFeedbacks[kPsAllPassLinks] = {0.65143905753106, 0.56471812200776, 0.48954165955695};
  constexpr double kSlope = 0.05;
  PsAllPassBank& bank = made.allPass;
  bank.bands = (made.allPassBands + 7) / 8 * 8;
  const auto set = [](float(&parts)[2][kPsAllPassBands], int k, double angle) {
    parts[0][k] = static_cast<float>(std::cos(angle));
    parts[1][k] = static_cast<float>(std::sin(angle));
  };
  for (int k = 0; k < made.allPassBands; ++k) {
    const double centre =
        k < made.splitBands ? centres[k] / unit : k - made.splitBands + made.splitQmfBands + 0.5;
    const double decay = k <= cutoff ? 1 : std::max(0.0, 1 - kSlope * (k - cutoff));
    set(bank.phase, k, -pi * kPhase * centre);
    for (int link = 0; link < kPsAllPassLinks; ++link) {
      set(bank.rotation[link], k, -pi * kRotations[link] * centre);
      bank.feedback[link][k] = static_cast<float>(kFeedbacks[link] * decay);
    }
  }
}

// Level ratios in decibels and coherences, by index (tables 8.25, 8.26 and 8.28).
constexpr int kIidDefault[] = {0, 2, 4, 7, 10, 14, 18, 25};
constexpr int kIidFine[] = {0, 2, 4, 6, 8, 10, 13, 16, 19, 22, 25, 30, 35, 40, 45, 50};
constexpr double kCoherence[] = {1, 0.937, 0.84118, 0.60092, 0.36764, 0, -0.589, -1};

PsMixing ToFloat(double h11, double h12, double h21, double h22) {
  return {static_cast<float>(h11), static_cast<float>(h12), static_cast<float>(h21), static_cast<float>(h22)};
}

// 8.6.4.6.2.1
PsMixing MixingA(double ratio, double coherence) {
  const double c1 = sqrt2 / std::hypot(1, ratio), c2 = ratio * c1;
  const double alpha = 0.5 * std::acos(coherence);
  const double beta = alpha * (c1 - c2) / sqrt2;
  return ToFloat(c2 * std::cos(beta + alpha), c1 * std::cos(beta - alpha), c2 * std::sin(beta + alpha),
                 c1 * std::sin(beta - alpha));
}

// 8.6.4.6.2.2
PsMixing MixingB(double ratio, double coherence) {
  const double rho = std::max(coherence, 0.05);
  double alpha = pi / 4;
  if (ratio != 1) {
    alpha = 0.5 * std::atan(2 * ratio * rho / (ratio * ratio - 1));
    if (alpha < 0) alpha += pi / 2;
  }
  const double sum = ratio + 1 / ratio;
  const double mu = std::sqrt(std::max(0.0, 1 + 4 * (rho * rho - 1) / (sum * sum)));
  const double gamma = std::atan(std::sqrt(std::max(0.0, (1 - mu) / (1 + mu))));
  return ToFloat(sqrt2 * std::cos(alpha) * std::cos(gamma), sqrt2 * std::sin(alpha) * std::cos(gamma),
                 -sqrt2 * std::sin(alpha) * std::sin(gamma), sqrt2 * std::cos(alpha) * std::sin(gamma));
}

void SetMixing(PsTables& made) {
  for (int fine = 0; fine < 2; ++fine) {
    for (int iid = -kMaxIid[fine]; iid <= kMaxIid[fine]; ++iid) {
      const int decibels = fine != 0 ? kIidFine[std::abs(iid)] : kIidDefault[std::abs(iid)];
      const double ratio = std::pow(10, (iid < 0 ? -decibels : decibels) / 20.0);
      for (int icc = 0; icc <= kMaxIcc; ++icc) {
        made.mixing[0][fine][iid + kMaxIid[1]][icc] = MixingA(ratio, kCoherence[icc]);
        made.mixing[1][fine][iid + kMaxIid[1]][icc] = MixingB(ratio, kCoherence[icc]);
      }
    }
  }
}

PsTables MakeTables() {
  PsTables made{};
  PsConfiguration& narrow = made.configurations[0];
  narrow.bands = 20;
  narrow.phaseBands = 11;
  narrow.splitQmfBands = 3;
  narrow.splitBands = 10;
  narrow.hybridBands = 71;
  narrow.allPassBands = 30;
  narrow.longDelayBands = 42;
  narrow.firstConjugate = 0;
  narrow.endConjugate = 2;
  SetFilters20(narrow);
  SetAllPass(kCentre20, 8, 10, narrow);

  PsConfiguration& wide = made.configurations[1];
  wide.bands = 34;
  wide.phaseBands = 17;
  wide.splitQmfBands = 5;
  wide.splitBands = 32;
  wide.hybridBands = 91;
  wide.allPassBands = 50;
  wide.longDelayBands = 62;
  wide.firstConjugate = 9;
  wide.endConjugate = 12;
  SetFilters34(wide);
  SetAllPass(kCentre34, 24, 32, wide);
  SetMixing(made);
  return made;
}

}  // namespace

const PsTables& SharedPsTables() {
  static const PsTables kShared = MakeTables();
  return kShared;
}

}  // namespace UMC::aac
