#include "audio/umc/aac/core/spectral_data.h"

#include <algorithm>

#include "dsp/ipps_vector.h"

namespace UMC::aac {

namespace {

constexpr int kScaleFactorOffset = 100;  // SF_OFFSET

// From this many lines on, the larger form of the escape codebook, whose words include the signs, pays off:
// it takes fewer steps per pair but more cache.
constexpr int kLongRun = 32;

bool IsSpectral(int codebook) {
  return codebook != kZeroCodebook && codebook <= kEscapeCodebook;
}

// Decodes `count` lines, or zeros if the codebook has none.
bool DecodeLines(fmp4::BitWindow& stream, const Codebooks& codebooks, int codebook, int count,
                 std::int16_t* lines) {
  const auto length = static_cast<std::size_t>(count);
  if (!IsSpectral(codebook)) {
    std::fill_n(lines, length, std::int16_t{0});
    return true;
  }
  const IppsVLCDecodeSpec_32s& table = codebooks.spectral[codebook];
  switch (codebook) {
    case 1:
    case 2:
    case 5:
    case 6:
      return ippsVLCDecodeBlock_1u16s(&stream, lines, length, &table) == ippStsNoErr;
    case kEscapeCodebook:
      if (count >= kLongRun) {
        return ippsVLCDecodeEscBlock_AAC_1u16s(&stream, lines, length, &codebooks.signedEscape) ==
               ippStsNoErr;
      }
      return ippsVLCDecodeUTupleEscBlock_AAC_1u16s(&stream, lines, length, &table) == ippStsNoErr;
    default:
      return ippsVLCDecodeUTupleBlock_1u16s(&stream, lines, length, &table) == ippStsNoErr;
  }
}

// The same to the powers of the lines.
bool DecodeLines(fmp4::BitWindow& stream, const Codebooks& codebooks, int codebook, int count, float* lines) {
  const auto length = static_cast<std::size_t>(count);
  if (!IsSpectral(codebook)) {
    std::fill_n(lines, length, 0.0f);
    return true;
  }
  return DecodeVlcPowers(&stream, lines, length, codebooks.powers[codebook]) == ippStsNoErr;
}

// One group's lines, quantised or their powers. Bands of one codebook that are adjacent in both the stream
// and the spectrum, as in a group of one window, are read at once.
template <class Line>
bool ParseGroup(fmp4::BitWindow& stream, const Codebooks& codebooks, const ChannelStream& channel, int group,
                Line* lines) {
  const IcsInfo& ics = channel.ics;
  const std::uint16_t* offsets = ics.bands->offsets;
  const std::uint8_t* codebook = channel.codebook + ics.Band(group, 0);
  const int windows = ics.groupLength[group];
  int sfb = 0;
  while (sfb < ics.maxSfb) {
    int end = sfb + 1;
    while (windows == 1 && end < ics.maxSfb && codebook[end] == codebook[sfb]) ++end;
    for (int window = 0; window < windows; ++window) {
      if (!DecodeLines(stream, codebooks, codebook[sfb], offsets[end] - offsets[sfb],
                       lines + window * ics.WindowLines() + offsets[sfb])) {
        return false;
      }
    }
    sfb = end;
  }
  return true;
}

// The powers of the lines of a long window with pulses, which move the quantised lines.
bool ParseWithPulses(fmp4::BitWindow& stream, const Codebooks& codebooks, const PulseData& pulse,
                     std::int16_t* quantised, ChannelStream& channel) {
  const int codedLines = channel.ics.bands->offsets[channel.ics.maxSfb];
  // Pulses above the coded lines have no effect.
  std::fill(quantised + codedLines, quantised + channel.ics.WindowLines(), std::int16_t{0});
  if (!ParseGroup(stream, codebooks, channel, 0, quantised)) return false;
  ApplyPulse(pulse, quantised);
  ippsPow43_16s32f(quantised, channel.spectrum, static_cast<std::size_t>(codedLines));
  return true;
}

}  // namespace

bool ParseSpectralData(fmp4::BitWindow& stream, const Codebooks& codebooks, const PulseData& pulse,
                       std::int16_t* quantised, ChannelStream& channel) {
  const IcsInfo& ics = channel.ics;
  const int windowLines = ics.WindowLines();
  const int codedLines = ics.bands->offsets[ics.maxSfb];

  float factors[kMaxGroupedBands];
  const auto bandCount = static_cast<std::size_t>(ics.BandCount());
  ippsCalcSF_16s32f(channel.scaleFactor, kScaleFactorOffset, factors, bandCount);
  for (std::size_t band = 0; band < bandCount; ++band) {
    if (!IsSpectral(channel.codebook[band])) factors[band] = 0;  // pulses there have no effect
  }

  if (pulse.count > 0 && !ParseWithPulses(stream, codebooks, pulse, quantised, channel)) return false;
  int window = 0;
  for (int group = 0; group < ics.groups; ++group) {
    float* const first = channel.spectrum + window * windowLines;
    if (pulse.count == 0 && !ParseGroup(stream, codebooks, channel, group, first)) return false;
    for (int i = 0; i < ics.groupLength[group]; ++i, ++window) {
      float* lines = channel.spectrum + window * windowLines;
      ippsScale_32f_I(lines, factors + ics.Band(group, 0), ics.bands->offsets, ics.maxSfb);
      std::fill(lines + codedLines, lines + windowLines, 0.0f);
    }
  }
  return true;
}

}  // namespace UMC::aac
