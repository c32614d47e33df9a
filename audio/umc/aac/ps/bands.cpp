#include "audio/umc/aac/ps/bands.h"

#include <algorithm>

namespace UMC::aac {

namespace {

constexpr PsResolution kResolutions[3] = {{10, 5}, {20, 11}, {34, 17}};

// A band as the weighted mean of bands of the other resolution: `first` and those that follow it.
struct Mean {
  std::uint8_t first;
  std::uint8_t weights[4];
};

// By band of 34 (table 8.45).
constexpr Mean kOf20In34[kMaxPsBands] = {
    {0, {1}},  {0, {1, 1}}, {1, {1}},  {2, {1}},  {2, {1, 1}}, {3, {1}},  {4, {1}},  {4, {1}},  {5, {1}},
    {5, {1}},  {6, {1}},    {7, {1}},  {8, {1}},  {8, {1}},    {9, {1}},  {9, {1}},  {10, {1}}, {11, {1}},
    {12, {1}}, {13, {1}},   {14, {1}}, {14, {1}}, {15, {1}},   {15, {1}}, {16, {1}}, {16, {1}}, {17, {1}},
    {17, {1}}, {18, {1}},   {18, {1}}, {18, {1}}, {18, {1}},   {19, {1}}, {19, {1}}};

// By band of 20 (table 8.46).
constexpr Mean kOf34In20[20] = {{0, {2, 1}},  {1, {1, 2}},  {3, {2, 1}},  {4, {1, 2}},        {6, {1, 1}},
                                {8, {1, 1}},  {10, {1}},    {11, {1}},    {12, {1, 1}},       {14, {1, 1}},
                                {16, {1}},    {17, {1}},    {18, {1}},    {19, {1}},          {20, {1, 1}},
                                {22, {1, 1}}, {24, {1, 1}}, {26, {1, 1}}, {28, {1, 1, 1, 1}}, {32, {1, 1}}};

// Integers are divided with truncation towards zero.
template <class Sum, class Value>
void TakeMeans(const Mean* means, const Value* from, int count, Value* to) {
  for (int band = 0; band < count; ++band) {
    Sum sum = 0, weights = 0;
    for (int i = 0; i < 4; ++i) {
      const Sum weight = means[band].weights[i];
      if (weight == 0) break;
      sum += weight * from[means[band].first + i];
      weights += weight;
    }
    to[band] = static_cast<Value>(sum / weights);
  }
}

// Converts through the middle resolution: two of its bands make one of the lowest.
void MapIndices(const std::int8_t* from, int fromBands, int toBands, int PsResolution::*count,
                std::int8_t* to) {
  const int low = kResolutions[0].*count, middle = kResolutions[1].*count, high = kResolutions[2].*count;
  std::int8_t between[kMaxPsBands] = {};
  if (fromBands == toBands) {
    std::copy_n(from, fromBands, to);
    return;
  }
  if (fromBands == low) {
    for (int band = 0; band < 2 * low; ++band) between[band] = from[band / 2];
  } else if (fromBands == middle) {
    std::copy_n(from, middle, between);
  } else {
    TakeMeans<int>(kOf34In20, from, middle, between);
  }
  if (toBands == low) {
    for (int band = 0; band < low; ++band) to[band] = between[2 * band];
  } else if (toBands == middle) {
    std::copy_n(between, middle, to);
  } else {
    TakeMeans<int>(kOf20In34, between, high, to);
  }
}

}  // namespace

PsResolution PsResolutionOf(int mode) {
  return kResolutions[mode % 3];
}

void MapPsIndices(const std::int8_t* from, int fromBands, int toBands, std::int8_t* to) {
  MapIndices(from, fromBands, toBands, &PsResolution::bands, to);
}

void MapPsPhases(const std::int8_t* from, int fromBands, int toBands, std::int8_t* to) {
  MapIndices(from, fromBands, toBands, &PsResolution::phaseBands, to);
}

void MapPsCoefficients(const float* from, int fromBands, int toBands, float* to) {
  if (fromBands < toBands) {
    TakeMeans<float>(kOf20In34, from, toBands, to);
  } else {
    TakeMeans<float>(kOf34In20, from, toBands, to);
  }
}

}  // namespace UMC::aac
