// Codes of CEA-708 for tests, by their names in the standard, and the packets that carry them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "captions/cc_data.h"

namespace fmp4::cea708 {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline Bytes chars(std::string_view text) {
  return {text.begin(), text.end()};
}

inline std::uint8_t byte(unsigned value) {
  return static_cast<std::uint8_t>(value);
}

inline Bytes CWx(unsigned window) {
  return {byte(0x80 + window)};
}
inline Bytes CLW(unsigned mask) {
  return {0x88, byte(mask)};
}
inline Bytes DSW(unsigned mask) {
  return {0x89, byte(mask)};
}
inline Bytes HDW(unsigned mask) {
  return {0x8A, byte(mask)};
}
inline Bytes TGW(unsigned mask) {
  return {0x8B, byte(mask)};
}
inline Bytes DLW(unsigned mask) {
  return {0x8C, byte(mask)};
}
inline Bytes DLY(unsigned tenths) {
  return {0x8D, byte(tenths)};
}
inline const Bytes DLC = {0x8E}, RST = {0x8F}, ETX = {0x03}, BS = {0x08}, FF = {0x0C}, CR = {0x0D},
                   HCR = {0x0E};

inline Bytes SPA(bool italics, bool underline) {
  return {0x90, 0x05, byte((italics ? 0x80u : 0u) | (underline ? 0x40u : 0u))};
}
// Opacity and two bits a component each.
inline Bytes SPC(unsigned foreground, unsigned background) {
  return {0x91, byte(foreground), byte(background), 0x00};
}
inline Bytes SPL(unsigned row, unsigned column) {
  return {0x92, byte(row), byte(column)};
}
// Justification 0 left, 1 right, 2 centre, 3 full.
inline Bytes SWA(unsigned justification, bool wordWrap = false) {
  return {0x97, 0x00, 0x00, byte((wordWrap ? 0x40u : 0u) | 0x0Cu | justification), 0x00};
}

struct Window {
  bool visible = true;
  bool relative = true;
  unsigned vertical = 0, horizontal = 0;
  unsigned anchor = 0;
  unsigned rows = 2, columns = 32;
  unsigned windowStyle = 0, penStyle = 0;
};
inline Bytes DFx(unsigned number, const Window& w) {
  return {byte(0x98 + number),
          byte(w.visible ? 0x20 : 0),
          byte((w.relative ? 0x80u : 0u) | w.vertical),
          byte(w.horizontal),
          byte(w.anchor << 4 | (w.rows - 1)),
          byte(w.columns - 1),
          byte(w.windowStyle << 3 | w.penStyle)};
}

// A service block with its header.
inline Bytes block(unsigned service, const Bytes& data) {
  if (service < 7) return Bytes{byte(service << 5 | static_cast<unsigned>(data.size()))} + data;
  return Bytes{byte(7 << 5 | static_cast<unsigned>(data.size())), byte(service)} + data;
}

// A caption channel packet of service blocks, padded to an even size.
inline Bytes packet(unsigned sequence, const Bytes& blocks) {
  Bytes bytes = Bytes{0} + blocks;
  if (bytes.size() % 2 != 0) bytes.push_back(0);
  bytes[0] = byte(sequence << 6 | (static_cast<unsigned>(bytes.size()) / 2 & 0x3F));
  return bytes;
}

inline std::vector<captions::CcConstruct> constructs(const Bytes& packet) {
  std::vector<captions::CcConstruct> result;
  for (std::size_t i = 0; i + 1 < packet.size(); i += 2)
    result.push_back({i == 0 ? captions::CcType::PacketStart : captions::CcType::PacketData,
                      true,
                      {packet[i], packet[i + 1]}});
  return result;
}

}  // namespace fmp4::cea708
