// The downmix of a stream's channels to those of the output (ATSC A/52, 7.8).
#pragma once

#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/ac3/coded_channel.h"

namespace UMC::ac3 {

// Gains by output channel and coded channel. Output order: left, right, centre, low frequency effects, left
// (or the only) surround, right surround.
struct Downmix {
  int outputs;
  float gains[kMaxChannels][kMaxChannels];
};

// The downmix to the audio coding mode `mode`, with or without the LFE channel. To two channels it is Lo/Ro
// with the stream's own levels. All gains are divided by the largest sum of an output's gains, so that full
// scale is preserved and never exceeded. Two programmes (1+1) are treated as left and right; output mode 0 is
// equivalent to 2.
Downmix MakeDownmix(const BitStreamInformation& info, int mode, bool lfe);

}  // namespace UMC::ac3
