// The way from a stream's channels to those of the output (ATSC A/52, 7.8).
#pragma once

#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/ac3/coded_channel.h"

namespace UMC::ac3 {

// Gains by output channel and coded channel. The output's order: left, right, centre, low frequency effects,
// left (or the only) surround, right surround.
struct Downmix {
  int outputs;
  float gains[kMaxChannels][kMaxChannels];
};

// The mix to the audio coding mode `mode`, with the LFE channel or without. To two channels it is Lo/Ro with
// the stream's own levels. All gains are divided by the largest sum of an output's gains, so that full scale
// is kept and cannot be exceeded. Two programmes (1+1) are taken as left and right, and are made by the
// output mode 0 as by 2.
Downmix MakeDownmix(const BitStreamInformation& info, int mode, bool lfe);

}  // namespace UMC::ac3
