#include "audio/umc/mdct_windows.h"

#include <cmath>
#include <numbers>

namespace UMC {

namespace {

// The modified Bessel function of the first kind, order 0.
double Bessel(double x) {
  double sum = 1, term = 1;
  for (int k = 1; term > sum * 1e-17; ++k) {
    term *= (x / 2 / k) * (x / 2 / k);
    sum += term;
  }
  return sum;
}

}  // namespace

void MakeSineWindow(int half, float* window) {
  for (int i = 0; i < half; ++i)
    window[i] = static_cast<float>(std::sin(std::numbers::pi / (2 * half) * (i + 0.5)));
}

void MakeKaiserBesselWindow(int half, double alpha, float* window) {
  const auto kernel = [=](int p) {
    const double x = 2.0 * p / half - 1;
    return Bessel(std::numbers::pi * alpha * std::sqrt(1 - x * x));
  };
  double total = 0;
  for (int p = 0; p <= half; ++p) total += kernel(p);
  double sum = 0;
  for (int i = 0; i < half; ++i) {
    sum += kernel(i);
    window[i] = static_cast<float>(std::sqrt(sum / total));
  }
}

}  // namespace UMC
