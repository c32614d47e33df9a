#include "audio/umc/aac/core/mixdown.h"

#include <algorithm>
#include <cmath>

namespace UMC::aac {

namespace {

using enum Speaker;

constexpr float kHalfPower = 0.70710678118654752f;  // 1 / sqrt(2)

// The speakers of an output with a given number of channels, in output order.
constexpr Speaker kTargets[kMaxChannels][kMaxChannels] = {
    {kFrontCentre},
    {kFrontLeft, kFrontRight},
    {kFrontLeft, kFrontRight, kFrontCentre},
    {kFrontLeft, kFrontRight, kFrontCentre, kBackCentre},
    {kFrontLeft, kFrontRight, kFrontCentre, kBackLeft, kBackRight},
    {kFrontLeft, kFrontRight, kFrontCentre, kLfe, kBackLeft, kBackRight},
    {kFrontLeft, kFrontRight, kFrontCentre, kLfe, kBackLeft, kBackRight, kBackCentre},
    {kFrontLeft, kFrontRight, kFrontCentre, kLfe, kBackLeft, kBackRight, kSideLeft, kSideRight},
};

// Distributes one stream channel to an output's speakers.
class Folder {
 public:
  Folder(MixMatrix& matrix, int channel, float surroundGain)
      : m_matrix(matrix), m_channel(channel), m_surroundGain(surroundGain) {}

  void Fold(Speaker speaker, float gain) {
    const Speaker* target = kTargets[m_matrix.outputs - 1];
    const Speaker* end = target + m_matrix.outputs;
    const Speaker* place = std::find(target, end, speaker);
    if (place != end) {
      m_matrix.gains[place - target][m_channel] += gain;
      return;
    }
    switch (speaker) {
      case kFrontLeft:
      case kFrontRight:  // mono
        Fold(kFrontCentre, gain);
        break;
      case kFrontLeftOfCentre:
        Fold(kFrontLeft, gain);
        break;
      case kFrontRightOfCentre:
        Fold(kFrontRight, gain);
        break;
      case kFrontCentre:
        Fold(kFrontLeft, gain * kHalfPower);
        Fold(kFrontRight, gain * kHalfPower);
        break;
      case kSideLeft:
        Fold(kBackLeft, gain);
        break;
      case kSideRight:
        Fold(kBackRight, gain);
        break;
      case kBackLeft:
      case kBackRight:
        FoldBack(speaker, gain);
        break;
      case kBackCentre:
        Fold(kBackLeft, gain * kHalfPower);
        Fold(kBackRight, gain * kHalfPower);
        break;
      case kUnknown:
        Fold(kFrontCentre, gain);
        break;
      case kLfe:
        break;
    }
  }

 private:
  // To the rear centre if there is one, otherwise to the front.
  void FoldBack(Speaker speaker, float gain) {
    if (m_matrix.outputs == 4) {
      Fold(kBackCentre, gain * kHalfPower);
    } else {
      Fold(speaker == kBackLeft ? kFrontLeft : kFrontRight, gain * m_surroundGain);
    }
  }

  MixMatrix& m_matrix;
  int m_channel;
  float m_surroundGain;
};

// matrix_mixdown_idx 0 to 3 (ISO/IEC 14496-3, table 4.70); index 0 if there is none.
float SurroundGain(int mixdownIndex) {
  constexpr float kGains[4] = {kHalfPower, 0.5f, kHalfPower / 2, 0.0f};
  return kGains[std::max(mixdownIndex, 0)];
}

}  // namespace

MixMatrix MakeMixMatrix(const Layout& layout, int outputs) {
  MixMatrix matrix{};
  matrix.outputs = outputs;
  if (outputs == layout.channelCount) {
    std::uint8_t order[kMaxChannels];
    OutputOrder(layout, order);
    for (int i = 0; i < outputs; ++i) matrix.gains[i][order[i]] = 1;
    return matrix;
  }
  if (layout.channelCount == 1 && outputs == 2) {
    matrix.gains[0][0] = matrix.gains[1][0] = 1;
    return matrix;
  }
  for (int channel = 0; channel < layout.channelCount; ++channel) {
    Folder(matrix, channel, SurroundGain(layout.mixdownIndex)).Fold(layout.speakers[channel], 1);
  }
  float largest = 1;
  for (int i = 0; i < outputs; ++i) {
    float sum = 0;
    for (int channel = 0; channel < layout.channelCount; ++channel) sum += std::abs(matrix.gains[i][channel]);
    largest = std::max(largest, sum);
  }
  for (int i = 0; i < outputs; ++i) {
    for (float& gain : matrix.gains[i]) gain /= largest;
  }
  return matrix;
}

}  // namespace UMC::aac
