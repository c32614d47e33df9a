#include "audio/umc/aac/core/tns.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "base/aac/audio_specific_config.h"

namespace UMC::aac {

namespace {

// Reflection coefficients of the transmitted values, by resolution (3 or 4 bits).
struct Reflections {
  Reflections() {
    for (int bits = 3; bits <= 4; ++bits) {
      const int half = 1 << (bits - 1);
      for (int value = -half; value < half; ++value) {
        const double steps = half + (value >= 0 ? -0.5 : 0.5);
        table[bits - 3][value + half] = static_cast<float>(std::sin(value * std::numbers::pi / 2 / steps));
      }
    }
  }
  float Of(int bits, int value) const { return table[bits - 3][value + (1 << (bits - 1))]; }

  float table[2][16] = {};
};

// y[i] = x[i] - sum of predictor[j] * y[i - 1 - j], with zeros before the first line.
void FilterLines(float* line, std::ptrdiff_t step, int count, const float* predictor, int order) {
  // The history, latest value first, in a buffer of twice its length so that it is rarely moved.
  constexpr int kSpace = 64;
  float history[kSpace + kMaxTnsOrderMain] = {};
  int latest = kSpace;
  for (int i = 0; i < count; ++i, line += step) {
    float sum = *line;
    for (int j = 0; j < order; ++j) sum -= predictor[j] * history[latest + j];
    *line = sum;
    if (latest == 0) {
      std::copy_backward(history, history + order, history + kSpace + order);
      latest = kSpace;
    }
    history[--latest] = sum;
  }
}

// y[i] = x[i] + sum of predictor[j] * x[i - 1 - j], from the last line to the first.
void FilterLinesBack(float* line, std::ptrdiff_t step, int count, const float* predictor, int order) {
  for (int i = count - 1; i >= 0; --i) {
    for (int j = 0; j < std::min(order, i); ++j) line[i * step] += predictor[j] * line[(i - 1 - j) * step];
  }
}

// Calls filter(firstLine, step, count, predictor, order) for every filter with a non-empty range of lines.
template <class Filter>
void ForEachFilter(const TnsData& tns, const IcsInfo& ics, float* spectrum, Filter filter) {
  for (int i = 0; i < tns.count; ++i) {
    const TnsFilter& sent = tns.filters[i];
    const int start = ics.bands->offsets[sent.startBand];
    const int count = ics.bands->offsets[sent.endBand] - start;
    if (count <= 0) continue;
    float predictor[kMaxTnsOrderMain];
    TnsPredictor(sent, predictor);
    float* first = spectrum + sent.window * ics.WindowLines() + start;
    if (sent.downward) {
      filter(first + count - 1, -1, count, predictor, sent.order);
    } else {
      filter(first, 1, count, predictor, sent.order);
    }
  }
}

}  // namespace

bool ParseTnsData(fmp4::BitWindow& stream, const IcsInfo& ics, int objectType, TnsData& tns) {
  const bool isShort = ics.IsShort();
  const int windows = isShort ? 8 : 1;
  const int maxOrder = isShort                     ? kMaxTnsOrderShort
                       : objectType == kObjectMain ? kMaxTnsOrderMain
                                                   : kMaxTnsOrderLong;
  const int lastBand = std::min<int>(ics.bands->tnsBands, ics.maxSfb);
  tns.count = 0;
  for (int window = 0; window < windows; ++window) {
    const auto filters = stream.Read(isShort ? 1 : 2);
    if (filters == 0) continue;
    const unsigned resolutionBits = 3 + stream.Read(1);
    int bottom = ics.bands->bands;
    for (std::uint32_t i = 0; i < filters; ++i) {
      const int top = bottom;
      bottom = std::max(top - static_cast<int>(stream.Read(isShort ? 4 : 6)), 0);
      const auto order = static_cast<int>(stream.Read(isShort ? 3 : 5));
      if (order > maxOrder) return false;
      if (order == 0) continue;
      TnsFilter& filter = tns.filters[tns.count++];
      filter.window = static_cast<std::uint8_t>(window);
      filter.startBand = static_cast<std::uint8_t>(std::min(bottom, lastBand));
      filter.endBand = static_cast<std::uint8_t>(std::min(top, lastBand));
      filter.order = static_cast<std::uint8_t>(order);
      filter.downward = stream.ReadFlag();
      filter.resolutionBits = static_cast<std::uint8_t>(resolutionBits);
      const unsigned bits = resolutionBits - stream.Read(1);  // coef_compress
      for (int j = 0; j < order; ++j) {
        const auto value = static_cast<int>(stream.Read(bits));
        const int sign = value >> (bits - 1);
        filter.coefficients[j] = static_cast<std::int8_t>(value - (sign << bits));
      }
    }
  }
  return true;
}

void TnsPredictor(const TnsFilter& filter, float* predictor) {
  static const Reflections kReflections;
  for (int m = 0; m < filter.order; ++m) {
    const float reflection = kReflections.Of(filter.resolutionBits, filter.coefficients[m]);
    for (int low = 0, high = m - 1; low <= high; ++low, --high) {
      const float a = predictor[low], b = predictor[high];
      predictor[low] = a + reflection * b;
      if (low != high) predictor[high] = b + reflection * a;
    }
    predictor[m] = reflection;
  }
}

void ApplyTns(const TnsData& tns, const IcsInfo& ics, float* spectrum) {
  ForEachFilter(tns, ics, spectrum, FilterLines);
}

void ApplyTnsAnalysis(const TnsData& tns, const IcsInfo& ics, float* spectrum) {
  ForEachFilter(tns, ics, spectrum, FilterLinesBack);
}

}  // namespace UMC::aac
