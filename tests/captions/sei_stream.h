// H.264 supplemental enhancement information with captions, for tests.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "captions/cc_data.h"

namespace fmp4::sei {

using Bytes = std::vector<std::uint8_t>;

// A message of ATSC captions (A/53 Part 4), with its type and size.
inline Bytes captionMessage(std::span<const captions::CcConstruct> constructs) {
  Bytes data = {
      0xB5, 0x00, 0x31, 'G', 'A', '9', '4', 0x03, static_cast<std::uint8_t>(0xC0 | constructs.size()), 0xFF};
  for (const captions::CcConstruct& construct : constructs)
    data.insert(data.end(), {static_cast<std::uint8_t>(0xF8u | (construct.valid ? 4u : 0u) |
                                                       static_cast<unsigned>(construct.type)),
                             construct.bytes[0], construct.bytes[1]});
  data.push_back(0xFF);
  Bytes message = {4, static_cast<std::uint8_t>(data.size())};
  message.insert(message.end(), data.begin(), data.end());
  return message;
}

// A NAL unit of messages, with emulation prevention.
inline Bytes seiNalUnit(Bytes payload) {
  payload.push_back(0x80);
  Bytes nal = {0x06};
  unsigned zeros = 0;
  for (const std::uint8_t byte : payload) {
    if (zeros >= 2 && byte <= 3) {
      nal.push_back(3);
      zeros = 0;
    }
    nal.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return nal;
}

inline Bytes captionSei(std::span<const captions::CcConstruct> constructs) {
  return seiNalUnit(captionMessage(constructs));
}

}  // namespace fmp4::sei
