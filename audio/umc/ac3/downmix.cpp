#include "audio/umc/ac3/downmix.h"

#include <algorithm>
#include <cstdint>

namespace UMC::ac3 {

namespace {

constexpr float kHalfPower = 0.70710678f;  // -3 dB

enum Speaker : std::int8_t { kLeft, kRight, kCentre, kLeftSurround, kRightSurround, kSurround, kSpeakers };

// The full bandwidth channels of each mode, in coding order.
constexpr Speaker kCodedOrder[8][kMaxFullChannels] = {
    {kLeft, kRight},
    {kCentre},
    {kLeft, kRight},
    {kLeft, kCentre, kRight},
    {kLeft, kRight, kSurround},
    {kLeft, kCentre, kRight, kSurround},
    {kLeft, kRight, kLeftSurround, kRightSurround},
    {kLeft, kCentre, kRight, kLeftSurround, kRightSurround},
};

// The gains of one coded channel in the output channels.
class Mixer {
 public:
  Mixer(const BitStreamInformation& info, int mode, bool lfe, Downmix& downmix)
      : m_info(info), m_downmix(downmix) {
    std::fill(m_places, m_places + kSpeakers, -1);
    for (const Speaker speaker : {kLeft, kRight, kCentre}) Place(speaker, mode);
    m_lfePlace = lfe ? m_downmix.outputs++ : -1;
    for (const Speaker speaker : {kLeftSurround, kRightSurround, kSurround}) Place(speaker, mode);
  }

  void Mix(Speaker speaker, int channel) {
    m_channel = channel;
    // Mono is the sum of Lo and Ro; the centre of three front channels is in both, at its level.
    const bool isSummed = speaker == kCentre && !Has(kLeft) && m_info.mode != kMono;
    if (Has(speaker) && !isSummed) {
      Add(speaker, 1);
      return;
    }
    switch (speaker) {
      case kLeft:
      case kRight:
        Add(kCentre, 1);
        break;
      case kCentre:
        AddToFront(m_info.mode == kMono ? kHalfPower : m_info.centreLevel);
        break;
      case kSurround:
        if (Has(kLeftSurround)) {
          Add(kLeftSurround, kHalfPower);
          Add(kRightSurround, kHalfPower);
        } else {
          AddToFront(kHalfPower * m_info.surroundLevel);
        }
        break;
      default:  // left or right surround
        if (Has(kSurround)) {
          Add(kSurround, kHalfPower);
        } else {
          const Speaker front = speaker == kLeftSurround ? kLeft : kRight;
          Add(Has(front) ? front : kCentre, m_info.surroundLevel);
        }
    }
  }

  void MixLfe() {
    if (m_lfePlace >= 0) m_downmix.gains[m_lfePlace][kLfe] = 1;
  }

 private:
  void Place(Speaker speaker, int mode) {
    const Speaker* coded = kCodedOrder[mode];
    const Speaker* end = coded + kFullChannels[mode];
    if (std::find(coded, end, speaker) != end) m_places[speaker] = m_downmix.outputs++;
  }

  [[nodiscard]] bool Has(Speaker speaker) const { return m_places[speaker] >= 0; }

  void Add(Speaker speaker, float gain) { m_downmix.gains[m_places[speaker]][m_channel] += gain; }

  // Mono is the sum of left and right.
  void AddToFront(float gain) {
    Add(Has(kLeft) ? kLeft : kCentre, gain);
    Add(Has(kRight) ? kRight : kCentre, gain);
  }

  const BitStreamInformation& m_info;
  Downmix& m_downmix;
  int m_places[kSpeakers];
  int m_lfePlace;
  int m_channel = 0;
};

void Normalise(Downmix& downmix) {
  float largest = 0;
  for (const auto& gains : downmix.gains) {
    float sum = 0;
    for (const float gain : gains) sum += gain;
    largest = std::max(largest, sum);
  }
  for (auto& gains : downmix.gains) {
    for (float& gain : gains) gain /= largest;
  }
}

}  // namespace

Downmix MakeDownmix(const BitStreamInformation& info, int mode, bool lfe) {
  Downmix downmix{};
  Mixer mixer(info, mode, lfe, downmix);
  for (int channel = 0; channel < info.FullChannels(); ++channel) {
    mixer.Mix(kCodedOrder[info.mode][channel], channel);
  }
  if (info.lfe) mixer.MixLfe();
  Normalise(downmix);
  return downmix;
}

}  // namespace UMC::ac3
